// A fresh directory under /tmp, removed with its contents when the object
// goes; and a scope that makes a directory the working directory for a while.
#pragma once

#include <ftw.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <string>

struct TemporaryDirectory {
  TemporaryDirectory() {
    char pattern[] = "/tmp/qv_test_XXXXXX";
    path = mkdtemp(pattern) != nullptr ? pattern : "";
  }
  ~TemporaryDirectory() {
    auto removeEntry = [](const char* entry, const struct stat*, int, struct FTW*) { return std::remove(entry), 0; };
    if (!path.empty()) nftw(path.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
  }
  std::string file(const std::string& name) const { return path + "/" + name; }
  std::string path;
};

struct WorkingDirectoryScope {
  explicit WorkingDirectoryScope(const std::string& directory) : previous(current()) {
    entered = chdir(directory.c_str()) == 0;
  }
  ~WorkingDirectoryScope() {
    if (chdir(previous.c_str()) != 0) std::perror("chdir back");
  }
  // The working directory as the system spells it, with a closing "/".
  static std::string current() {
    char buffer[4096];
    return getcwd(buffer, sizeof buffer) != nullptr ? std::string(buffer) + "/" : std::string();
  }
  std::string previous;
  bool entered = false;
};
