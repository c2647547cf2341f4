// KX_File: an open file with its handle, its name as given and made
// absolute, at most one memory mapping and a list of locked ranges.
//
// Failures are told by the codes of KX_FileCodes.h, each passed through
// VM_reportError with the file's name as the text. Every call of the system
// goes through one of the virtual operations below, which sit right on the
// platform layer (platform/KX_FileSystem.h).
//
// Typical use: a local KX_File, open(name, 7, 1), write as often as needed,
// and the destructor closes it.
#pragma once

#include "foundation/KX_Base.h"
#include "foundation/KX_DateTime.h"
#include "foundation/KX_FileCodes.h"
#include "foundation/KX_FileFlags.h"
#include "foundation/KX_LongLongArray.h"
#include "foundation/KX_String.h"
#include "platform/KX_FileSystem.h"

class KX_File : public KX_Base {
 public:
  // A closed file with that name; null gives an empty name.
  explicit KX_File(const char* fileName = nullptr);
  KX_File(const KX_File&) = delete;
  KX_File& operator=(const KX_File&) = delete;
  // Closes the file.
  ~KX_File() override;

  // A closed file with the same name.
  KX_Base* newInstance() const override;
  // Closes this file and takes the source's name. An open source is reached
  // again: an attached one through the same handle, attached; another one by
  // openExisting with its access, then mapped as the source is.
  void copyFrom(const KX_Base* source) override;

  // The platform operations. Each returns 0 or a code unless told otherwise.

  // Opens `fileName` into `newHandle`; with `create` the file is made as the
  // create flags say. A temporary file's chosen name goes into absoluteName.
  virtual int openHandle(KX_FileHandle& newHandle, const char* fileName, unsigned char accessFlags,
                         unsigned char fileCreateFlags, bool create);
  virtual int closeHandle();
  // `count` gets the bytes read or written, 0 on failure.
  virtual int readBytes(void* buffer, int size, int& count);
  virtual int writeBytes(const void* buffer, int size, int& count);
  // The size in bytes; 0 on failure.
  virtual long long getSize();
  // Cuts or grows the file. The position stays, unless it lay behind the new
  // end: then it is the new end.
  virtual int setSize(long long size);
  // The last-write time in universal time; all fields 0 on failure.
  virtual KX_DateTime getModificationTime();
  virtual int setModificationTime(const KX_DateTime& stamp);
  // The attributes of absoluteName; 0 on failure.
  virtual unsigned char getAttributes();
  virtual int setAttributes(unsigned char attributes);
  // Maps `size` bytes from `offset` (which together stay below 0xFFFFFFFF);
  // `pointer` gets the first of them.
  virtual int mapRange(KX_MapHandle& newMapHandle, unsigned char mapFlags, long long offset, int size, void*& pointer);
  virtual int unmapRange(KX_MapHandle& oldMapHandle, unsigned char mapFlags, long long offset, int size, void* pointer);
  // The new position, -1 on failure. Origin 0 the start, 1 the position, 2 the end.
  virtual long long seek(long long offset, int origin);
  virtual int lockBytes(long long offset, long long size);
  virtual int unlockBytes(long long offset, long long size);

  // Closes, then opens and creates the file; a non-null name replaces `name`.
  // A failure leaves the file closed.
  int open(const char* fileName, unsigned char accessFlags, unsigned char fileCreateFlags);
  // The same for a file that must exist.
  int openExisting(const char* fileName, unsigned char accessFlags);
  // Closes, then takes over a handle that is already open. With
  // `handleAttached`, close leaves the handle open for its owner.
  void attach(KX_FileHandle openHandle, const char* fileName, unsigned char accessFlags, bool handleAttached);
  // Releases the mapping and the locks, then closes the handle unless it is
  // attached. All steps run; the first code is the result. 0 on a closed file.
  int close();
  // Writes `size` bytes; `count`, if given, gets how many went. A size of 0
  // writes nothing and gives 0.
  int write(const void* buffer, int size, int* count);
  // Maps from `offset` on: `size` bytes, or up to the end with a size of 0, cut
  // at the end. `pointer`, if given, gets the first byte. One mapping at a time.
  int map(unsigned char mapFlags, long long offset, int size, void** pointer);
  // Locks `size` bytes from `offset` and keeps the range in the lists until
  // unlockRange. A range that overlaps one this file holds is refused as locked.
  int lockRange(long long offset, long long size);
  // Unlocks the range that starts at `offset`. The range leaves the lists
  // whatever the platform says.
  int unlockRange(long long offset);
  // Unlocks the ranges from the last on; the first code ends it.
  int unlockAll();

  bool isOpen() const { return absoluteName.getLength() > 0; }

  KX_String name;
  // Empty exactly while the file is closed.
  KX_String absoluteName;
  KX_FileHandle handle = KX_NO_FILE_HANDLE;
  bool attached = false;
  unsigned char access = 0;
  unsigned char createFlags = 0;
  unsigned char mapAccess = 0;
  long long mapOffset = 0;
  int mapSize = 0;
  void* mapPointer = nullptr;
  KX_MapHandle mapHandle = 0;
  // Locked ranges, by ascending start.
  KX_LongLongArray lockOffsets;
  KX_LongLongArray lockSizes;

 private:
  // Passes a code other than 0 through VM_reportError with the name.
  int report(int code) const;
  // Steps shared by open, openExisting and attach: close and take the name and flags.
  void prepareOpen(const char* fileName, unsigned char accessFlags, unsigned char fileCreateFlags);
  int openWith(const char* fileName, unsigned char accessFlags, unsigned char fileCreateFlags, bool create);
};
