// Which file code a failing platform call gives, by the call and its errno.
//
// This table is the one place where the system's error numbers meet the file
// codes: a port to another system replaces it together with KX_FileSystem.cpp.
#pragma once

// The platform calls whose failures the file layer reports, each standing for
// one row of the table.
enum class KX_FileCall {
  temporaryName,     // choosing and making a temporary file
  create,            // opening a file that is to be created
  openExisting,      // opening a file that must exist
  close,             // closing a descriptor
  read,              // reading bytes
  write,             // writing bytes, also cutting or growing the file
  position,          // moving the position, reading the size
  getTime,           // reading the modification time
  setTime,           // setting the modification time
  getAttributes,     // reading the attributes of a name
  setAttributes,     // changing the attributes of a name
  lock,              // taking or releasing a record lock
  map,               // mapping the file into memory
  unmap,             // taking a mapping away
  currentDirectory,  // reading the process's working directory
};

// The code of `error` (an errno value) failing in `call`; never 0.
int KX_fileCodeForError(KX_FileCall call, int error);
