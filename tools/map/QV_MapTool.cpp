#include "QV_MapTool.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "QV_MapSvg.h"
#include "geometry/KX_Polygon2D.h"

namespace {

const char* const kHelp =
    "usage: qvmap [options] DIRECTORY\n"
    "Draws the path finder's debugging dumps found in DIRECTORY as an SVG picture:\n"
    "\"obstacles\" (filled), \"obstacleborder\" (the border) and \"dynobstacles\" (the\n"
    "last barrier added). Any of the three may be missing. The picture has the y\n"
    "axis pointing up, a grid of coordinates and a scale bar.\n"
    "\n"
    "  -o, --out FILE     write the picture to FILE (default map.svg; - for standard output)\n"
    "  --inflation R      also draw each obstacle grown by R, dashed, as the path\n"
    "                     finder inflates it\n"
    "  --path \"X,Y X,Y ...\"\n"
    "                     draw a path through these points; may be repeated\n"
    "  --size PIXELS      the longer side of the map in pixels (default 800)\n"
    "  -h, --help         show this text\n"
    "\n"
    "Exits with 1 when a dump's size does not fit its counts, naming the file,\n"
    "and with 2 on a wrong argument.\n";

bool parseNumber(const std::string& text, double& value) {
  char* end = nullptr;
  value = std::strtod(text.c_str(), &end);
  return !text.empty() && end != nullptr && *end == '\0' && std::isfinite(value);
}

// "x,y x,y ...": pairs separated by blanks.
bool parsePath(const std::string& text, QV_MapOutline& path) {
  std::istringstream in(text);
  std::string pair;
  while (in >> pair) {
    std::size_t comma = pair.find(',');
    double x;
    double y;
    if (comma == std::string::npos || !parseNumber(pair.substr(0, comma), x) ||
        !parseNumber(pair.substr(comma + 1), y)) {
      return false;
    }
    path.push_back({static_cast<float>(x), static_cast<float>(y)});
  }
  return !path.empty();
}

// Each obstacle grown by the library's own polygon expansion.
std::vector<QV_MapOutline> inflate(const std::vector<QV_MapOutline>& obstacles, float distance) {
  std::vector<QV_MapOutline> grown;
  for (const QV_MapOutline& outline : obstacles) {
    KX_Polygon2D polygon;
    for (const QV_MapPoint& p : outline) {
      if (std::isfinite(p.x) && std::isfinite(p.y)) polygon.append(KX_Point2D{p.x, p.y});
    }
    if (polygon.getCount() < 3) continue;
    polygon.expand(distance);
    QV_MapOutline result;
    for (int i = 0; i < polygon.getCount(); ++i) result.push_back({polygon.at(i).x, polygon.at(i).y});
    grown.push_back(result);
  }
  return grown;
}

int usageError(std::ostream& err, const std::string& message) {
  err << "qvmap: " << message << "\n(qvmap --help tells the options)\n";
  return 2;
}

}  // namespace

int QV_runMapTool(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
  std::string directory;
  std::string output = "map.svg";
  double inflation = 0;
  QV_MapPicture picture;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const bool hasValue = i + 1 < argc;
    double number;
    if (arg == "-h" || arg == "--help") {
      out << kHelp;
      return 0;
    } else if ((arg == "-o" || arg == "--out") && hasValue) {
      output = argv[++i];
    } else if (arg == "--inflation" && hasValue) {
      if (!parseNumber(argv[++i], inflation) || inflation < 0) return usageError(err, "bad inflation: " + std::string(argv[i]));
    } else if (arg == "--size" && hasValue) {
      if (!parseNumber(argv[++i], number) || number < 16 || number > 100000) {
        return usageError(err, "bad size: " + std::string(argv[i]));
      }
      picture.size = static_cast<int>(number);
    } else if (arg == "--path" && hasValue) {
      QV_MapOutline path;
      if (!parsePath(argv[++i], path)) return usageError(err, "bad path: " + std::string(argv[i]));
      picture.paths.push_back(path);
    } else if (!arg.empty() && arg[0] != '-' && directory.empty()) {
      directory = arg;
    } else {
      return usageError(err, "unexpected argument: " + arg);
    }
  }
  if (directory.empty()) return usageError(err, "no directory given");

  std::string error;
  if (!QV_readMapDumps(directory, picture.dumps, error)) {
    err << "qvmap: " << error << "\n";
    return 1;
  }
  if (inflation > 0) picture.inflated = inflate(picture.dumps.obstacles, static_cast<float>(inflation));
  if (output == "-") {
    QV_writeMapSvg(out, picture);
    return 0;
  }
  std::ofstream file(output);
  QV_writeMapSvg(file, picture);
  file.close();
  if (!file) {
    err << "qvmap: cannot write " << output << "\n";
    return 1;
  }
  return 0;
}
