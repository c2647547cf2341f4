#include "DemoSvg.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

constexpr float kPictureWidth = 1000.0f;  // pixels for the world's width
constexpr float kMargin = 16.0f;
constexpr float kLegendLine = 18.0f;

// "x,y x,y ..." with one decimal, enough at this scale.
std::string pointList(const std::vector<float>& points) {
  std::string text;
  char pair[48];
  for (std::size_t i = 0; i + 1 < points.size(); i += 2) {
    std::snprintf(pair, sizeof pair, "%s%.1f,%.1f", i > 0 ? " " : "", points[i], points[i + 1]);
    text += pair;
  }
  return text;
}

std::string colourOf(const DemoUnit& unit) {
  // Golden-angle hues keep neighbouring ids apart; guards are darker.
  const int hue = static_cast<int>(std::fmod(static_cast<double>(unit.id) * 137.508, 360.0));
  const int lightness = unit.kind == DemoUnitKind::guard ? 30 : 48;
  return "hsl(" + std::to_string(hue) + ",70%," + std::to_string(lightness) + "%)";
}

std::string escape(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '&') {
      out += "&amp;";
    } else if (c == '<') {
      out += "&lt;";
    } else if (c == '>') {
      out += "&gt;";
    } else {
      out += c;
    }
  }
  return out;
}

}  // namespace

bool writeDemoSvg(const std::string& file, const DemoWorld& world, const std::vector<std::unique_ptr<DemoUnit>>& units,
                  const std::vector<std::string>& legend, std::string& error) {
  const DemoMap& map = world.map;
  const float scale = kPictureWidth / map.width();
  const float worldHeight = map.height() * scale;
  const float width = kPictureWidth + 2 * kMargin;
  const float height = worldHeight + 2 * kMargin + kLegendLine * static_cast<float>(legend.size());

  std::ostringstream svg;
  svg << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << height
      << "\" viewBox=\"0 0 " << width << " " << height << "\" font-family=\"sans-serif\" font-size=\"13\">\n";
  svg << "<rect width=\"100%\" height=\"100%\" fill=\"#fbfbf8\"/>\n";
  // World units, y up; strokes keep their pixel widths.
  svg << "<g transform=\"translate(" << kMargin << "," << kMargin + worldHeight << ") scale(" << scale << "," << -scale
      << ")\" stroke-linejoin=\"round\" stroke-linecap=\"round\">\n";

  svg << "<polygon points=\"" << pointList(map.border)
      << "\" fill=\"#ffffff\" stroke=\"#202124\" stroke-width=\"2\" vector-effect=\"non-scaling-stroke\"/>\n";
  std::size_t first = 0;
  for (int count : map.pointCounts) {
    const std::vector<float> points(map.points.begin() + static_cast<std::ptrdiff_t>(first),
                                    map.points.begin() + static_cast<std::ptrdiff_t>(first + 2 * count));
    first += 2 * static_cast<std::size_t>(count);
    svg << "<polygon points=\"" << pointList(points)
        << "\" fill=\"#b8bcc2\" stroke=\"#5f6368\" stroke-width=\"1\" vector-effect=\"non-scaling-stroke\"/>\n";
  }
  for (const DemoDrop& drop : world.drops()) {
    char span[64];
    std::snprintf(span, sizeof span, "%s from %.1f s to %.1f s", drop.barrier ? "barrier" : "obstacle", drop.start,
                  drop.end);
    svg << "<polygon points=\"" << pointList(drop.points) << "\" fill=\"" << (drop.barrier ? "#d93025" : "#f9ab00")
        << "\" fill-opacity=\"0.45\"><title>" << span << "</title></polygon>\n";
  }
  for (const auto& unit : units) {
    svg << "<polyline points=\"" << pointList(unit->trail) << "\" fill=\"none\" stroke=\"" << colourOf(*unit)
        << "\" stroke-width=\"1.3\" stroke-opacity=\"0.55\" vector-effect=\"non-scaling-stroke\"/>\n";
  }
  for (const auto& unit : units) {
    if (unit->path.size() < 4) continue;
    svg << "<polyline points=\"" << pointList(unit->path) << "\" fill=\"none\" stroke=\"" << colourOf(*unit)
        << "\" stroke-width=\"1.2\" stroke-dasharray=\"5 4\" vector-effect=\"non-scaling-stroke\"/>\n";
  }
  for (const auto& unit : units) {
    const bool guard = unit->kind == DemoUnitKind::guard;
    svg << "<" << (guard ? "rect" : "circle");
    if (guard) {
      svg << " x=\"" << unit->x - 2.2f << "\" y=\"" << unit->y - 2.2f << "\" width=\"4.4\" height=\"4.4\"";
    } else {
      svg << " cx=\"" << unit->x << "\" cy=\"" << unit->y << "\" r=\"2.2\"";
    }
    svg << " fill=\"" << colourOf(*unit)
        << "\" stroke=\"#202124\" stroke-width=\"0.8\" vector-effect=\"non-scaling-stroke\"><title>"
        << (guard ? "guard " : "unit ") << unit->id << "</title></" << (guard ? "rect" : "circle") << ">\n";
  }
  svg << "</g>\n";
  float line = kMargin + worldHeight + kMargin + 4;
  for (const std::string& text : legend) {
    svg << "<text x=\"" << kMargin << "\" y=\"" << line << "\" fill=\"#202124\">" << escape(text) << "</text>\n";
    line += kLegendLine;
  }
  svg << "</svg>\n";

  std::ofstream out(file, std::ios::binary);
  out << svg.str();
  out.close();
  if (!out) {
    error = "cannot write " + file;
    return false;
  }
  return true;
}
