// qvmap: draws the path finder's debugging dumps as an SVG picture.
#include <iostream>

#include "map/QV_MapTool.h"

int main(int argc, char** argv) {
  return QV_runMapTool(argc, argv, std::cout, std::cerr);
}
