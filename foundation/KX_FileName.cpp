#include "foundation/KX_FileName.h"

#include <cstring>

#include "foundation/KX_FileCodes.h"
#include "foundation/KX_StringList.h"
#include "foundation/KX_Uri.h"
#include "platform/KX_FileSystem.h"
#include "vm/VM_reportError.h"

namespace {

constexpr const char* kDrivePattern = "[a-z,A-Z]{a-z,A-Z,0-9,+,-,.}:";

KX_String tail(const KX_String& text, int start) {
  return text.substring(start, text.getLength() - start);
}

bool endsWith(const KX_String& text, char c) {
  return text.getLength() > 0 && text.getText()[text.getLength() - 1] == c;
}

// The current directory for a name that brings a drive of its own. Should
// the current directory start with a drive too, the name's drive wins and
// the other one is left out, so that the result holds one drive only.
int getCurrentDirectoryFor(const KX_String& drive, KX_String& directory) {
  const int code = getCurrentDirectory(directory);
  if (code != 0 || drive.getLength() == 0) return code;
  KX_String currentDrive;
  KX_String currentDirectory;
  KX_String baseName;
  KX_String extension;
  splitPath(directory.getText(), currentDrive, currentDirectory, baseName, extension);
  if (currentDrive.getLength() > 0) directory = tail(directory, currentDrive.getLength());
  return 0;
}

// Works out "." and ".." in a directory that starts with "/". False if the
// directory can't be cut into segments.
bool normalizeDirectory(KX_String& directory) {
  KX_StringList segments;
  if (directory.split(segments, "/", "\"", "\"", 0, true) != 0) return false;
  int i = 0;
  while (i < segments.getCount()) {
    const char* segment = segments.getString(i)->getText();
    if (std::strcmp(segment, ".") == 0) {
      segments.remove(i);
    } else if (std::strcmp(segment, "..") == 0 && i > 0) {
      segments.removeRange(i - 1, 2);
      --i;
    } else {
      ++i;  // also a ".." with nothing before it: it stays
    }
  }
  // The empty segment behind the closing "/" comes back as that "/" below.
  const int last = segments.getCount() - 1;
  if (last >= 1 && segments.getString(last)->getLength() == 0) segments.remove(last);
  KX_String written;
  for (int s = 0; s < segments.getCount(); ++s) written = written.concat(*segments.getString(s)).concat("/");
  directory = written;
  return true;
}

}  // namespace

void splitPath(const char* path, KX_String& drive, KX_String& directory, KX_String& baseName, KX_String& extension) {
  drive.clear();
  directory.clear();
  baseName.clear();
  extension.clear();
  KX_String rest = KX_String(path).replaceChar('\\', '/');

  const char* colon = std::strchr(rest.getText(), ':');
  if (colon != nullptr) {
    const KX_String candidate = rest.substring(0, static_cast<int>(colon - rest.getText()) + 1);
    if (candidate.matches(kDrivePattern)) {
      drive = candidate;
      rest = tail(rest, candidate.getLength());
    }
  }
  const char* slash = std::strrchr(rest.getText(), '/');
  if (slash != nullptr) {
    const int length = static_cast<int>(slash - rest.getText()) + 1;
    directory = rest.substring(0, length);
    rest = tail(rest, length);
  }
  const char* stop = std::strrchr(rest.getText(), '.');
  if (stop != nullptr) {
    const int start = static_cast<int>(stop - rest.getText());
    extension = tail(rest, start);
    rest.resize(start);
  }
  baseName = rest;
}

int getCurrentDirectory(KX_String& directory) {
  KX_String current;
  if (KX_readWorkingDirectory(current) != 0) return VM_reportError(KX_FILE_NO_CURRENT_DIRECTORY, "%s", ".");
  current = current.replaceChar('\\', '/');
  if (current.getLength() > 0 && !endsWith(current, '/')) current = current.concat("/");
  directory = current;
  return 0;
}

KX_String makeAbsoluteName(const char* name) {
  KX_String scheme;
  KX_String user;
  KX_String password;
  KX_String host;
  int port = 0;
  KX_String path;
  KX_String query;
  KX_String fragment;
  if (parseUri(name, scheme, user, password, host, port, path, query, fragment) != 0) return KX_String(name);

  KX_String drive;
  KX_String directory;
  KX_String baseName;
  KX_String extension;
  splitPath(path.getText(), drive, directory, baseName, extension);

  if (directory.getLength() == 0) {
    // A bare file name lies in the current directory as it stands.
    if (getCurrentDirectory(directory) != 0) return KX_String(name);
  } else {
    if (directory.getText()[0] != '/') {
      KX_String current;
      if (getCurrentDirectoryFor(drive, current) != 0) return KX_String(name);
      directory = current.concat(directory);
    }
    if (!normalizeDirectory(directory)) return KX_String(name);
  }

  const KX_String absolutePath = drive.concat(directory).concat(baseName).concat(extension);
  return composeUri(scheme, user, password, host, port, absolutePath, query, fragment);
}
