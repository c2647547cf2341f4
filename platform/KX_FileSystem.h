// The system's file functions under KX_File, here over POSIX descriptors.
//
// Each function returns 0 or a file code (foundation/KX_FileCodes.h), turned
// from errno by the one table in KX_FileErrorTable. Names come in the
// library's own form, where a backslash counts as a forward slash. A port to
// another system replaces this layer and the table, and nothing else.
#pragma once

#include <cstddef>

#include "foundation/KX_DateTime.h"
#include "foundation/KX_String.h"

// An open file: a descriptor.
using KX_FileHandle = int;
constexpr KX_FileHandle KX_NO_FILE_HANDLE = -1;

// A mapping of a file. A POSIX mapping has no object of its own: what has to
// be kept to take it away again is the length of the view; 0 without one.
using KX_MapHandle = std::size_t;

// Makes a new empty file in `directory` under a name of its own choice that
// starts with "kx_", and gives that name. The file is closed again at once
// and stays until it is removed.
int KX_makeTemporaryFile(const char* directory, KX_String& chosenName);

// Opens `name` with the access flags. With `create`, the file is made, and
// an existing one is overwritten with KX_CREATE_OVERWRITE and is a failure
// without it. A directory is never opened as a file.
int KX_openFile(const char* name, unsigned char access, unsigned char createFlags, bool create, KX_FileHandle* handle);

// Closes the descriptor; with a `deleteName`, then removes that file.
int KX_closeFile(KX_FileHandle handle, const char* deleteName);

// Read or write `size` bytes at the position, which moves behind them.
// `count` gets the bytes moved (fewer at the end of a file), 0 on failure.
// A range that another descriptor has locked is neither read nor written.
int KX_readFile(KX_FileHandle handle, void* buffer, int size, int* count);
int KX_writeFile(KX_FileHandle handle, const void* buffer, int size, int* count);

int KX_getFileSize(KX_FileHandle handle, long long* size);
// Origin 0 the start, 1 the position, 2 the end; `position` gets the new one.
int KX_seekFile(KX_FileHandle handle, long long offset, int origin, long long* position);
// Makes the position the end of the file, cutting or growing it.
int KX_setEndOfFile(KX_FileHandle handle);

// The last-write time, in universal time, to the millisecond.
int KX_getFileTime(KX_FileHandle handle, KX_DateTime* stamp);
// Sets the last-write time from `stamp`; microseconds / 1000 are its
// milliseconds. A stamp that isn't a calendar time is a write failure.
int KX_setFileTime(KX_FileHandle handle, const KX_DateTime& stamp);

// Attributes of a file by name (foundation/KX_FileFlags.h).
int KX_getFileAttributes(const char* name, unsigned char* attributes);
int KX_setFileAttributes(const char* name, unsigned char attributes);

// Maps the whole file from its start, for reading, or for writing too with
// KX_MAP_WRITE. An empty file can't be mapped.
int KX_mapFile(KX_FileHandle handle, unsigned char mapFlags, KX_MapHandle* mapHandle, void** view);
// Takes the view away; `mapHandle` becomes 0 when it went.
int KX_unmapFile(KX_MapHandle* mapHandle, void* view);

// Record locks of `size` bytes from `offset`, held by the open file, not by
// the process: a second descriptor of the same file, also in this process,
// can't take a lock on the range.
int KX_lockFileRange(KX_FileHandle handle, long long offset, long long size);
int KX_unlockFileRange(KX_FileHandle handle, long long offset, long long size);

// The process's working directory, as the system spells it. `directory`
// stays as it was on failure.
int KX_readWorkingDirectory(KX_String& directory);
