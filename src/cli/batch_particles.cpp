#include "cli/batch_particles.h"

#include <cstdio>
#include <filesystem>

#include "analysis/form_particle.h"
#include "cli/batch_args.h"
#include "cli/batch_host.h"
#include "cli/batch_session.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/form_binarize.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

namespace sv::cli {

namespace {

std::string Fixed(double v, int decimals) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.*f", decimals, v);
  std::string s = buf;
  // No "-0.0".
  if (s.find_first_not_of("-0.") == std::string::npos && s[0] == '-') s.erase(0, 1);
  return s;
}

}  // namespace

std::string ParticlesUsage() {
  return "  particles IMAGE [--threshold N] [--min-area A] [--out SHEET.sht]\n"
         "              traces the particles of the image (samples at or above half\n"
         "              its grey levels), after binarizing it at N when given,\n"
         "              keeps those of Area at least A, and prints one line a\n"
         "              particle: number, Area, Xc, Yc, Perim., FormFactor, point\n"
         "              count; --out saves the result sheet\n";
}

int ParticlesCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string imagePath, sheetPath;
  long threshold = -1;
  bool binarize = false, filter = false;
  double minArea = 0.0;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool takesValue = a == "--threshold" || a == "--min-area" || a == "--out";
    if (takesValue && i + 1 >= args.size()) return BadArgs(err, a + " needs a value");
    if (a == "--threshold") {
      if (!ParseWhole(args[++i], threshold) || threshold < 0)
        return BadArgs(err, "--threshold takes a whole number from 0, not " + args[i]);
      binarize = true;
    } else if (a == "--min-area") {
      if (!ParseNumber(args[++i], minArea)) return BadArgs(err, "--min-area takes a number, not " + args[i]);
      filter = true;
    } else if (a == "--out") {
      sheetPath = args[++i];
    } else if (a.rfind("--", 0) == 0) {
      return BadArgs(err, "unknown option " + a);
    } else if (imagePath.empty()) {
      imagePath = a;
    } else {
      return BadArgs(err, "particles takes one image");
    }
  }
  if (imagePath.empty()) return BadArgs(err, "particles needs an IMAGE");

  BatchHost batchHost(err);
  HostScope scope(&batchHost);
  BatchMainWindow window;
  MDIForm_Main& main = window.main;

  std::error_code ec;
  if (!std::filesystem::is_regular_file(imagePath, ec)) {
    err << "svbatch: no image " << imagePath << "\n";
    return 1;
  }
  Form_Camera* image = nullptr;
  if (int rc = OpenBatchImage(main, imagePath, err, image)) return rc;

  if (binarize && !BinarizeDo(*image, threshold)) {
    if (image->HasColors())
      err << "svbatch: a colour image is not binarized\n";
    else
      err << "svbatch: --threshold takes 0 to " << image->ImageDynamik() - 1 << " for this image\n";
    return 1;
  }

  Form_Particle form;
  if (!form.DetectParticles(*image)) return 1;
  if (filter) out << form.ParticleMinArea(minArea);

  out << "#\tArea\tXc\tYc\tPerim.\tFormFactor\tPoints\n";
  for (long i = 0; i < form.Count(); ++i) {
    const Class_Particle& p = form.Particles[size_t(i)];
    double xc = 0.0, yc = 0.0;
    p.CenterOfGravity(xc, yc);
    out << i + 1 << "\t" << Fixed(p.Area(), 1) << "\t" << Fixed(xc, 4) << "\t" << Fixed(yc, 4)
        << "\t" << Fixed(p.Perimeter(), 1) << "\t" << Fixed(p.FormFactor(), 4) << "\t"
        << p.PointCount() << "\n";
  }
  out << form.Count() << " Particles\n";

  if (!sheetPath.empty()) {
    Form_Worksheet* sheet = form.Worksheet(&main);
    if (!sheet) {
      err << "svbatch: cannot make the result sheet\n";
      return 1;
    }
    if (sheet->SaveWorksheet(sheetPath) != 0) return 1;
  }
  return 0;
}

}  // namespace sv::cli
