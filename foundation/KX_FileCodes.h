// The result codes of the file class and of file names. 0 is success.
#pragma once

enum KX_FileCode : int {
  KX_FILE_CANNOT_CREATE = 0x200,         // the file can't be created
  KX_FILE_CANNOT_OPEN = 0x201,           // the file can't be opened
  KX_FILE_CANNOT_CLOSE = 0x202,          // the file can't be closed
  KX_FILE_WRITE_FAILED = 0x203,          // write failure, also of attributes, time stamp or size
  KX_FILE_READ_FAILED = 0x204,           // read failure, also of attributes or time stamp
  KX_FILE_NO_POSITION = 0x20D,           // position or size can't be had
  KX_FILE_ACCESS_DENIED = 0x20E,         // access denied
  KX_FILE_NOT_FOUND = 0x20F,             // file not found
  KX_FILE_PATH_NOT_FOUND = 0x210,        // path not found, or no temporary name to be had
  KX_FILE_EXISTS = 0x211,                // file exists already
  KX_FILE_DISK_FULL = 0x212,             // disk full
  KX_FILE_RANGE_LOCKED = 0x213,          // range is locked
  KX_FILE_NOTHING_TO_MAP = 0x214,        // offset at or behind the end, or a file that can't be mapped
  KX_FILE_MAP_FAILED = 0x215,            // mapping failed
  KX_FILE_LOCK_FAILED = 0x216,           // lock or unlock failed
  KX_FILE_NO_CURRENT_DIRECTORY = 0x217,  // the current directory can't be had
};
