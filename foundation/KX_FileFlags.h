// The flag bytes of KX_File: access, creation, mapping and attributes.
#pragma once

enum KX_FileAccessFlag : unsigned char {
  KX_ACCESS_READ = 1,
  KX_ACCESS_WRITE = 2,
  KX_ACCESS_SHARE_READ = 4,   // others may read meanwhile
  KX_ACCESS_SHARE_WRITE = 8,  // others may write meanwhile
  KX_ACCESS_WRITE_THROUGH = 16,
};

enum KX_FileCreateFlag : unsigned char {
  KX_CREATE_OVERWRITE = 1,  // without it an existing file is a failure
  KX_CREATE_TEMPORARY = 2,  // the name is a directory; the platform chooses the file's name
  KX_CREATE_DELETE_ON_CLOSE = 4,
};

// With both read and write set, write wins.
enum KX_FileMapFlag : unsigned char {
  KX_MAP_READ = 1,
  KX_MAP_WRITE = 2,
  KX_MAP_IMAGE = 4,  // as an executable image, read-only
};

enum KX_FileAttribute : unsigned char {
  KX_ATTRIBUTE_ARCHIVE = 2,
  KX_ATTRIBUTE_READ_ONLY = 4,
  KX_ATTRIBUTE_SYSTEM = 8,
  KX_ATTRIBUTE_HIDDEN = 16,
  KX_ATTRIBUTE_EXECUTABLE = 32,  // reported only, never set
};
