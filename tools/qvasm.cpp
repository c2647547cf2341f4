// qvasm: assembles a script source file into an executable image.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "assembler/QV_Assembler.h"

namespace {

void printHelp() {
  std::cout << "usage: qvasm [-o image] source\n"
               "Assembles a script source file into an executable image. The image goes to\n"
               "-o, or beside the source with the extension .qvx. On an error, qvasm names\n"
               "the file, line and column, writes no image and exits with 1 (2 for a file\n"
               "or usage error).\n\n"
            << qvasm::kAssemblerSyntaxHelp;
}

std::string defaultOutput(const std::string& source) {
  const std::size_t slash = source.find_last_of('/');
  const std::size_t dot = source.find_last_of('.');
  const bool hasExtension = dot != std::string::npos && (slash == std::string::npos || dot > slash);
  return (hasExtension ? source.substr(0, dot) : source) + ".qvx";
}

}  // namespace

int main(int argc, char** argv) {
  std::string input;
  std::string output;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--help" || arg == "-h") {
      printHelp();
      return 0;
    }
    if (arg == "-o" && i + 1 < argc) {
      output = argv[++i];
    } else if (!arg.empty() && arg[0] == '-') {
      std::cerr << "qvasm: unknown option '" << arg << "' (see --help)\n";
      return 2;
    } else if (input.empty()) {
      input = arg;
    } else {
      std::cerr << "qvasm: only one source file is taken\n";
      return 2;
    }
  }
  if (input.empty()) {
    std::cerr << "qvasm: no source file (see --help)\n";
    return 2;
  }
  if (output.empty()) output = defaultOutput(input);

  std::ifstream in(input, std::ios::binary);
  if (!in) {
    std::cerr << "qvasm: cannot read '" << input << "': " << std::strerror(errno) << "\n";
    return 2;
  }
  std::stringstream text;
  text << in.rdbuf();

  qvasm::Program program;
  std::vector<qvasm::Diagnostic> errors;
  if (!qvasm::assemble(text.str(), program, errors)) {
    for (const qvasm::Diagnostic& d : errors) std::cerr << qvasm::formatDiagnostic(input, d) << "\n";
    return 1;
  }
  const std::vector<unsigned char> image = qvasm::buildImage(program);
  std::ofstream out(output, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(image.data()), static_cast<std::streamsize>(image.size()));
  out.close();
  if (!out) {
    std::remove(output.c_str());
    std::cerr << "qvasm: cannot write '" << output << "'\n";
    return 2;
  }
  return 0;
}
