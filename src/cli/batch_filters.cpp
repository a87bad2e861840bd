#include "cli/batch_filters.h"

#include "cli/batch_host.h"
#include "core/error_table.h"
#include "image/filter_library.h"
#include "image/form_filter.h"

namespace sv::cli {

namespace {

int Bad(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n" << FiltersUsage();
  return 2;
}

}  // namespace

std::string FiltersUsage() {
  return "  filters [FILE.FLT] [--save OUT.FLT]\n"
         "              the filter library (FILE, else the workbench's): the count,\n"
         "              then index, name, factor, bias and kernel size (3, 5, 7) of\n"
         "              each filter, tab-separated; --save writes it to OUT\n";
}

int FiltersCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string file, save;
  bool haveFile = false, haveSave = false;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--save") {
      if (i + 1 >= args.size()) return Bad(err, "--save needs a file");
      save = args[++i];
      haveSave = true;
    } else if (a.rfind("--", 0) == 0 || haveFile) {
      return Bad(err, "unknown argument " + a);
    } else {
      file = a;
      haveFile = true;
    }
  }

  BatchHost batchHost(err);
  HostScope scope(&batchHost);
  Form_Filter form;
  const int code = haveFile ? ReadFilterLibraryFile(file, form.Filters)
                            : ReadFilterLibrary(form.Filters);
  if (code < 0 && haveFile) {
    err << "svbatch: cannot read " << file << "\n";
    return 1;
  }
  if (code > 0) {
    err << Form_Filter::kTitle << ": " << ErrorText(code) << "\n";
    return 1;
  }
  if (haveSave) {
    form.Path = save;
    if (!form.SaveFilter()) return 1;
  }
  out << form.Count() << "\n";
  for (size_t i = 0; i < form.Filters.size(); ++i) {
    const FilterRecord& f = form.Filters[i];
    out << (i + 1) << "\t" << FilterName(f) << "\t" << f.Factor << "\t" << f.Bias << "\t"
        << FilterKernelSize(f) << "\n";
  }
  return 0;
}

}  // namespace sv::cli
