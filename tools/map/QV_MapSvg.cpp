#include "QV_MapSvg.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

namespace {

constexpr double kLeft = 64;  // room for the y labels
constexpr double kTop = 16;
constexpr double kRight = 24;
constexpr double kBottom = 56;  // room for the x labels and the scale bar

struct Frame {
  double minX = 0, minY = 0, maxX = 1, maxY = 1;
  double scale = 1;
  double x(double worldX) const { return kLeft + (worldX - minX) * scale; }
  double y(double worldY) const { return kTop + (maxY - worldY) * scale; }
};

bool finite(const QV_MapPoint& p) {
  return std::isfinite(p.x) && std::isfinite(p.y);
}

Frame frameOf(const QV_MapPicture& picture) {
  Frame f;
  bool any = false;
  auto take = [&](const QV_MapOutline& outline) {
    for (const QV_MapPoint& p : outline) {
      if (!finite(p)) continue;
      if (!any) {
        f.minX = f.maxX = p.x;
        f.minY = f.maxY = p.y;
        any = true;
      }
      f.minX = std::min<double>(f.minX, p.x);
      f.maxX = std::max<double>(f.maxX, p.x);
      f.minY = std::min<double>(f.minY, p.y);
      f.maxY = std::max<double>(f.maxY, p.y);
    }
  };
  for (const auto& o : picture.dumps.obstacles) take(o);
  take(picture.dumps.border);
  take(picture.dumps.barrier);
  for (const auto& o : picture.inflated) take(o);
  for (const auto& o : picture.paths) take(o);
  double span = std::max(f.maxX - f.minX, f.maxY - f.minY);
  if (!(span > 0)) span = 1;
  // A small margin, so that outlines on the bounds stay visible.
  double pad = span * 0.02;
  f.minX -= pad;
  f.minY -= pad;
  f.maxX = std::max(f.maxX + pad, f.minX + 1e-6);
  f.maxY = std::max(f.maxY + pad, f.minY + 1e-6);
  f.scale = picture.size / std::max(f.maxX - f.minX, f.maxY - f.minY);
  return f;
}

// 1, 2 or 5 times a power of ten, giving about eight steps over `span`.
double tickStep(double span) {
  double raw = span / 8;
  double power = std::pow(10.0, std::floor(std::log10(raw)));
  for (double m : {1.0, 2.0, 5.0}) {
    if (m * power >= raw) return m * power;
  }
  return 10 * power;
}

std::string number(double v) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", std::abs(v) < 1e-9 ? 0.0 : v);
  return text;
}

std::string pointList(const Frame& f, const QV_MapOutline& outline) {
  std::string text;
  char pair[64];
  for (const QV_MapPoint& p : outline) {
    if (!finite(p)) continue;
    std::snprintf(pair, sizeof pair, "%s%.2f,%.2f", text.empty() ? "" : " ", f.x(p.x), f.y(p.y));
    text += pair;
  }
  return text;
}

void shape(std::ostream& out, const char* element, const char* cls, const Frame& f, const QV_MapOutline& outline) {
  out << "  <" << element << " class=\"" << cls << "\" points=\"" << pointList(f, outline) << "\"/>\n";
}

void grid(std::ostream& out, const Frame& f, double width, double height) {
  double step = tickStep(std::max(f.maxX - f.minX, f.maxY - f.minY));
  out << "  <g class=\"grid\">\n";
  for (double v = std::ceil(f.minX / step) * step; v <= f.maxX; v += step) {
    out << "    <line x1=\"" << f.x(v) << "\" y1=\"" << kTop << "\" x2=\"" << f.x(v) << "\" y2=\"" << kTop + height
        << "\"/>\n    <text x=\"" << f.x(v) << "\" y=\"" << kTop + height + 14
        << "\" text-anchor=\"middle\">" << number(v) << "</text>\n";
  }
  for (double v = std::ceil(f.minY / step) * step; v <= f.maxY; v += step) {
    out << "    <line x1=\"" << kLeft << "\" y1=\"" << f.y(v) << "\" x2=\"" << kLeft + width << "\" y2=\"" << f.y(v)
        << "\"/>\n    <text x=\"" << kLeft - 4 << "\" y=\"" << f.y(v) + 4 << "\" text-anchor=\"end\">" << number(v)
        << "</text>\n";
  }
  out << "  </g>\n";
  double barLeft = kLeft + width - step * f.scale;
  double barY = kTop + height + 34;
  out << "  <g class=\"scale\">\n    <line x1=\"" << barLeft << "\" y1=\"" << barY << "\" x2=\"" << kLeft + width
      << "\" y2=\"" << barY << "\"/>\n    <text x=\"" << barLeft << "\" y=\"" << barY + 14 << "\">" << number(step)
      << (step == 1 ? " unit" : " units") << "</text>\n  </g>\n";
}

}  // namespace

void QV_writeMapSvg(std::ostream& out, const QV_MapPicture& picture) {
  const Frame f = frameOf(picture);
  const double width = (f.maxX - f.minX) * f.scale;
  const double height = (f.maxY - f.minY) * f.scale;
  out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << kLeft + width + kRight << "\" height=\""
      << kTop + height + kBottom << "\" font-family=\"sans-serif\" font-size=\"11\">\n"
      << "  <style>\n"
         "    .grid line { stroke: #e4e4e4; stroke-width: 1 }\n"
         "    .scale line { stroke: #000; stroke-width: 3 }\n"
         "    .obstacle { fill: #8d99ae; stroke: #2b2d42; stroke-width: 1 }\n"
         "    .inflated { fill: none; stroke: #2b2d42; stroke-width: 1; stroke-dasharray: 4 3 }\n"
         "    .border { fill: none; stroke: #2a9d8f; stroke-width: 2 }\n"
         "    .barrier { fill: #e76f51; fill-opacity: 0.6; stroke: #9d0208; stroke-width: 1.5 }\n"
         "    .path { fill: none; stroke: #3a86ff; stroke-width: 2 }\n"
         "  </style>\n";
  grid(out, f, width, height);
  if (!picture.dumps.border.empty()) shape(out, "polygon", "border", f, picture.dumps.border);
  for (const auto& o : picture.inflated) shape(out, "polygon", "inflated", f, o);
  for (const auto& o : picture.dumps.obstacles) shape(out, "polygon", "obstacle", f, o);
  if (!picture.dumps.barrier.empty()) shape(out, "polygon", "barrier", f, picture.dumps.barrier);
  for (const auto& p : picture.paths) shape(out, "polyline", "path", f, p);
  out << "</svg>\n";
}
