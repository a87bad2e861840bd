#include "cli/batch_images.h"

#include "cli/batch_host.h"
#include "core/globals.h"
#include "image/form_camera.h"
#include "image/image_files.h"

namespace sv::cli {

namespace {

int Bad(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n";
  return 2;
}

const char* TypeName(int type) {
  switch (type) {
    case 1: return "TIFF";
    case 2: return "Windows Bitmap";
    case 3: return "JPEG";
    case 4: return "ITEX";
    case 7: return "B16";
    default: return "(unknown)";
  }
}

}  // namespace

std::string ImageUsage() {
  return "  image-info FILE\n"
         "              the file's detected type, width, height, bits, colour,\n"
         "              comment and resolution, the reader that took it (built-in,\n"
         "              or libtiff for other programs' TIFF files) and its note\n"
         "  image-convert IN OUT [--filter N]\n"
         "              reads IN and writes OUT through save filter N (1 to 12),\n"
         "              by default the filter of OUT's extension\n";
}

int ImageInfo(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.size() != 2) return Bad(err, "image-info takes one file");
  BatchHost batchHost(err);
  HostScope scope(&batchHost);
  ResetGlobals();
  ImageFileInfo info;
  const std::string& path = args[1];
  if (!ReadImageFileInfo(path, info)) {
    err << "svbatch: cannot read " << path;
    if (!info.note.empty()) err << " (" << info.note << ")";
    err << "\n";
    return 1;
  }
  out << "file: " << path << "\n"
      << "type: " << info.type << " " << TypeName(info.type) << "\n"
      << "width: " << info.width << "\n"
      << "height: " << info.height << "\n"
      << "bits: " << info.bits << "\n"
      << "colour: " << (info.colour ? "yes" : "no") << "\n"
      << "comment: " << info.comment << "\n"
      << "resolution: " << info.xPelsPerMeter << " x " << info.yPelsPerMeter
      << " pixels per metre\n"
      << "reader: " << info.reader << "\n";
  if (!info.note.empty()) out << "note: " << info.note << "\n";
  return 0;
}

int ImageConvert(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::vector<std::string> files;
  int filter = 0;
  for (size_t i = 1; i < args.size(); ++i) {
    if (args[i] == "--filter") {
      if (i + 1 >= args.size()) return Bad(err, "--filter needs a value");
      const std::string& v = args[++i];
      try {
        size_t used = 0;
        filter = std::stoi(v, &used);
        if (used != v.size()) filter = -1;
      } catch (...) {
        filter = -1;
      }
      if (filter < 1 || filter > kImageFilterCount)
        return Bad(err, "--filter takes 1 to 12, not " + v);
    } else if (args[i].rfind("--", 0) == 0) {
      return Bad(err, "unknown option " + args[i]);
    } else {
      files.push_back(args[i]);
    }
  }
  if (files.size() != 2) return Bad(err, "image-convert takes IN and OUT");
  if (filter == 0) filter = ImageFilterForPath(files[1]);
  if (filter == 0) return Bad(err, "no filter for " + files[1] + "; give --filter N");
  BatchHost batchHost(err);
  HostScope scope(&batchHost);
  ResetGlobals();
  Form_Camera image(nullptr);
  if (!ImageOpenDo(image, files[0])) {
    err << "svbatch: cannot read " << files[0] << "\n";
    return 1;
  }
  if (!ImageSaveDo(image, files[1], filter)) return 1;
  out << files[1] << ": " << ImageFilterText(filter) << ", " << image.ImageWidth() << " x "
      << image.ImageHeight() << "\n";
  return 0;
}

}  // namespace sv::cli
