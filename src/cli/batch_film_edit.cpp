#include "cli/batch_film_edit.h"

#include <charconv>
#include <memory>

#include "cli/batch_host.h"
#include "core/globals.h"
#include "core/platform/platform.h"
#include "image/image_files.h"
#include "video/compress_options.h"
#include "video/film_edit.h"
#include "video/film_export.h"
#include "video/film_import.h"
#include "video/video_file.h"

namespace sv::cli {

namespace {

int Bad(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n";
  return 2;
}

bool ParseLong(const std::string& s, long& v) {
  const auto r = std::from_chars(s.data(), s.data() + s.size(), v);
  return !s.empty() && r.ec == std::errc() && r.ptr == s.data() + s.size();
}

bool FilmName(const std::string& path) {
  return path.size() > 4 && (IsAviName(path) || path.compare(path.size() - 4, 4, ".vid") == 0);
}

std::string BaseName(const std::string& path) {
  std::string name = path.substr(path.find_last_of('/') + 1);
  const size_t dot = name.find_last_of('.');
  return dot == std::string::npos ? name : name.substr(0, dot);
}

}  // namespace

std::string FilmEditUsage() {
  return "  film-export FILE OUTDIR [--from N --to M] [--filter N] [--log]\n"
         "              frames N to M (from 0, inclusive; default all) as\n"
         "              OUTDIR/<film>_<000000>.<ext> through save filter N (default\n"
         "              6, 16-bit TIFF, for films above 8 bits, else 1); --log\n"
         "              writes OUTDIR/<film>.txt, a line of numbers a frame\n"
         "  film-export FILE OUT.vid|OUT.avi [--from N --to M] [--codec lossless|view]\n"
         "              the frames as a new film; an AVI's numbers go to a text\n"
         "              file beside it, OUT.txt (or OUT(n).txt), \"label = value\"\n"
         "  film-import IN... OUT.vid [--energy-from-name | --energy START STEP]\n"
         "              images, folders of images or TIFFs of several pages, a\n"
         "              frame each image or page, in the order given; a folder's\n"
         "              images by the number after the last \"_\", then by name;\n"
         "              energies from the last number of each file name, or\n"
         "              START + i * STEP; OUT.txt beside OUT.vid gives columns\n";
}

int FilmExportCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::vector<std::string> files;
  long from = 0, to = -1, filter = 0;
  bool hasFrom = false, hasTo = false, log = false;
  std::string codec;
  bool hasCodec = false;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    const auto value = [&](long& v) {
      return i + 1 < args.size() && ParseLong(args[++i], v);
    };
    if (a == "--from") {
      if (!value(from) || from < 0) return Bad(err, "--from needs a frame number");
      hasFrom = true;
    } else if (a == "--to") {
      if (!value(to) || to < 0) return Bad(err, "--to needs a frame number");
      hasTo = true;
    } else if (a == "--filter") {
      if (!value(filter) || filter < 1 || filter > kImageFilterCount)
        return Bad(err, "--filter takes 1 to 12");
    } else if (a == "--log") {
      log = true;
    } else if (a == "--codec") {
      if (i + 1 >= args.size()) return Bad(err, "--codec needs lossless or view");
      codec = args[++i];
      hasCodec = true;
      if (codec != "lossless" && codec != "view") return Bad(err, "--codec takes lossless or view");
    } else if (a.rfind("--", 0) == 0) {
      return Bad(err, "unknown option " + a);
    } else {
      files.push_back(a);
    }
  }
  if (files.size() != 2) return Bad(err, "film-export takes FILE and OUTDIR or OUT.vid|OUT.avi");
  if (hasFrom && hasTo && to < from) return Bad(err, "--to lies before --from");
  const std::string& path = files[0];
  const std::string& target = files[1];
  const bool toFilm = FilmName(target);
  if (toFilm && (filter || log)) return Bad(err, "--filter and --log are for image files");
  if (!toFilm && hasCodec) return Bad(err, "--codec is for a film");

  BatchHost batchHost(err);
  HostScope scope(&batchHost);
  ResetGlobals();
  std::unique_ptr<VideoFile> film = OpenFilmToRead(path);
  if (!film) {
    if (platform::FileExists(path)) err << "svbatch: " << path << " is not a valid Film File\n";
    return 1;
  }
  const long frames = film->NumberOfPictures();
  if (!hasTo) to = frames - 1;
  if (from >= frames || to >= frames) {
    err << "svbatch: " << path << " has frames 0 to " << frames - 1 << "\n";
    return 1;
  }
  if (toFilm) {
    film->FileClose();
    if (IsAviName(target)) SelectCompressCodec(hasCodec ? codec : "lossless");
    const FilmEditResult r = CopyFilm(path, target, from, to);
    ClearCompressOptions();
    if (!r.ok) {
      err << "svbatch: " << (r.error.empty() ? "stopped" : r.error) << "\n";
      return 1;
    }
    out << target << ": " << r.frames << " frames\n";
    return 0;
  }
  ExportRequest request;
  for (long i = from; i <= to; ++i) request.frames.push_back(i);
  request.folder = target;
  request.base = BaseName(path);
  request.imageFilter = int(filter ? filter : (film->BitsPerPixel() > 8 ? 6 : 1));
  if (log) request.logPath = (target.back() == '/' ? target : target + "/") + request.base + ".txt";
  const ExportResult r = ExportFilmFrames(*film, request);
  if (!r.ok) {
    err << "svbatch: " << (r.error.empty() ? "stopped" : r.error) << "\n";
    return 1;
  }
  out << target << ": " << r.written << " frames\n";
  return 0;
}

int FilmImportCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::vector<std::string> files;
  ImportOptions options;
  bool energy = false;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--energy-from-name") {
      options.energyFromNames = true;
    } else if (a == "--energy") {
      if (i + 2 >= args.size() || !ParseStartEnergy(args[i + 1], options.startEnergy) ||
          options.startEnergy == 0 || !ParseStepEnergy(args[i + 2], options.stepEnergy))
        return Bad(err, "--energy takes START (5 to 1000 eV) and STEP (not 0)");
      i += 2;
      energy = true;
    } else if (a.rfind("--", 0) == 0) {
      return Bad(err, "unknown option " + a);
    } else {
      files.push_back(a);
    }
  }
  if (energy && options.energyFromNames) return Bad(err, "--energy-from-name or --energy, not both");
  if (files.size() < 2) return Bad(err, "film-import takes IN... and OUT.vid");
  const std::string target = files.back();
  files.pop_back();
  if (target.size() < 5 || target.compare(target.size() - 4, 4, ".vid") != 0)
    return Bad(err, "film-import writes a .vid film, not " + target);

  BatchHost batchHost(err);
  HostScope scope(&batchHost);
  ResetGlobals();
  std::vector<ImportFrame> frames;
  std::string error;
  if (!ExpandImportSources(files, frames, error)) {
    err << "svbatch: " << error << "\n";
    return 1;
  }
  const std::string txt = target.substr(0, target.size() - 4) + ".txt";
  std::string text;
  if (platform::FileExists(txt) && ReadSmallTextFile(txt, text) &&
      !ParseImportColumns(text, options.columns, error)) {
    err << "svbatch: " << txt << ": " << error << "\n";
    return 1;
  }
  const ImportResult r = ImportFilm(frames, target, options);
  if (!r.ok) {
    err << "svbatch: " << r.error << "\n";
    return 1;
  }
  out << target << ": " << r.frames << " frames, " << r.width << " x " << r.height << ", " << r.bits
      << " bit\n";
  return 0;
}

}  // namespace sv::cli
