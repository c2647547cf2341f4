#include "foundation/KX_File.h"

#include <climits>

#include "foundation/KX_FileName.h"
#include "vm/VM_reportError.h"

namespace {

// A mapped range ends below this offset, the largest 32-bit number.
constexpr long long kMapLimit = 0xFFFFFFFFLL;

}  // namespace

KX_File::KX_File(const char* fileName) : name(fileName) {}

KX_File::~KX_File() {
  close();
}

KX_Base* KX_File::newInstance() const {
  return new KX_File(name.getText());
}

void KX_File::copyFrom(const KX_Base* source) {
  const KX_File* other = static_cast<const KX_File*>(source);
  if (other == this) return;  // closing first would lose the very file to copy
  close();
  name = other->name;
  if (!other->isOpen()) return;
  int code = 0;
  if (other->attached) {
    attach(other->handle, nullptr, other->access, true);
  } else {
    code = openExisting(nullptr, other->access);
  }
  if (code == 0 && other->mapPointer != nullptr) map(other->mapAccess, other->mapOffset, other->mapSize, nullptr);
}

int KX_File::report(int code) const {
  return code == 0 ? 0 : VM_reportError(code, "%s", name.getText());
}

// Nothing here asks the user about missing drives, so there is no error mode
// to set first. The temporary flag of a new file is only a caching hint, and
// has no counterpart here.
int KX_File::openHandle(KX_FileHandle& newHandle, const char* fileName, unsigned char accessFlags,
                        unsigned char fileCreateFlags, bool create) {
  if (!create || (fileCreateFlags & KX_CREATE_TEMPORARY) == 0) {
    return report(KX_openFile(fileName, accessFlags, fileCreateFlags, create, &newHandle));
  }
  KX_String chosenName;
  const int code = KX_makeTemporaryFile(fileName, chosenName);
  if (code != 0) return report(code);
  absoluteName = chosenName;
  // The file exists now: opening it is creating over it, which takes
  // KX_CREATE_OVERWRITE like any other file (so a temporary file wants 3).
  return report(KX_openFile(chosenName.getText(), accessFlags, fileCreateFlags, true, &newHandle));
}

int KX_File::closeHandle() {
  const bool deleting = (createFlags & KX_CREATE_DELETE_ON_CLOSE) != 0;
  const int code = KX_closeFile(handle, deleting ? absoluteName.getText() : nullptr);
  handle = KX_NO_FILE_HANDLE;
  return report(code);
}

int KX_File::readBytes(void* buffer, int size, int& count) {
  return report(KX_readFile(handle, buffer, size, &count));
}

int KX_File::writeBytes(const void* buffer, int size, int& count) {
  return report(KX_writeFile(handle, buffer, size, &count));
}

long long KX_File::getSize() {
  long long size = 0;
  if (report(KX_getFileSize(handle, &size)) != 0) return 0;
  return size;
}

int KX_File::setSize(long long size) {
  long long noted = 0;
  long long reached = 0;
  int code = KX_seekFile(handle, 0, 1, &noted);
  if (code == 0) code = KX_seekFile(handle, size, 0, &reached);
  if (code != 0) return report(code);
  code = KX_setEndOfFile(handle);
  // Back to where the position was, as long as that still lies in the file.
  const long long back = code == 0 && noted > size ? size : noted;
  const int seekCode = KX_seekFile(handle, back, 0, &reached);
  return report(code != 0 ? code : seekCode);
}

KX_DateTime KX_File::getModificationTime() {
  KX_DateTime stamp;
  if (report(KX_getFileTime(handle, &stamp)) != 0) return KX_DateTime();
  return stamp;
}

int KX_File::setModificationTime(const KX_DateTime& stamp) {
  return report(KX_setFileTime(handle, stamp));
}

unsigned char KX_File::getAttributes() {
  unsigned char attributes = 0;
  if (report(KX_getFileAttributes(absoluteName.getText(), &attributes)) != 0) return 0;
  return attributes;
}

int KX_File::setAttributes(unsigned char attributes) {
  return report(KX_setFileAttributes(absoluteName.getText(), attributes));
}

// The whole file is mapped from its start; the pointer handed out lies
// `offset` bytes into the view.
int KX_File::mapRange(KX_MapHandle& newMapHandle, unsigned char mapFlags, long long offset, int size, void*& pointer) {
  pointer = nullptr;
  if (offset < 0 || size < 0 || offset + size >= kMapLimit) return report(KX_FILE_MAP_FAILED);
  void* view = nullptr;
  const int code = KX_mapFile(handle, mapFlags, &newMapHandle, &view);
  if (code != 0) return report(code);
  pointer = static_cast<char*>(view) + offset;
  return 0;
}

int KX_File::unmapRange(KX_MapHandle& oldMapHandle, unsigned char mapFlags, long long offset, int size, void* pointer) {
  (void)mapFlags;
  (void)size;
  return report(KX_unmapFile(&oldMapHandle, static_cast<char*>(pointer) - offset));
}

long long KX_File::seek(long long offset, int origin) {
  long long position = -1;
  if (report(KX_seekFile(handle, offset, origin, &position)) != 0) return -1;
  return position;
}

int KX_File::lockBytes(long long offset, long long size) {
  return report(KX_lockFileRange(handle, offset, size));
}

int KX_File::unlockBytes(long long offset, long long size) {
  return report(KX_unlockFileRange(handle, offset, size));
}

void KX_File::prepareOpen(const char* fileName, unsigned char accessFlags, unsigned char fileCreateFlags) {
  close();
  // Copied before it is assigned: the text may be this file's own name.
  if (fileName != nullptr) name = KX_String(fileName);
  attached = false;
  access = accessFlags;
  createFlags = fileCreateFlags;
  absoluteName = makeAbsoluteName(name.getText());
}

int KX_File::openWith(const char* fileName, unsigned char accessFlags, unsigned char fileCreateFlags, bool create) {
  prepareOpen(fileName, accessFlags, fileCreateFlags);
  // The platform gets the name as given, not the absolute one.
  const int code = openHandle(handle, name.getText(), accessFlags, fileCreateFlags, create);
  if (code != 0) absoluteName.clear();
  return code;
}

int KX_File::open(const char* fileName, unsigned char accessFlags, unsigned char fileCreateFlags) {
  return openWith(fileName, accessFlags, fileCreateFlags, true);
}

int KX_File::openExisting(const char* fileName, unsigned char accessFlags) {
  return openWith(fileName, accessFlags, 0, false);
}

void KX_File::attach(KX_FileHandle openHandle, const char* fileName, unsigned char accessFlags, bool handleAttached) {
  prepareOpen(fileName, accessFlags, 0);
  attached = handleAttached;
  handle = openHandle;
}

int KX_File::close() {
  if (!isOpen()) return 0;
  int mapCode = 0;
  if (mapPointer != nullptr) {
    mapCode = unmapRange(mapHandle, mapAccess, mapOffset, mapSize, mapPointer);
    mapPointer = nullptr;
  }
  const int unlockCode = unlockAll();
  lockOffsets.clear();
  lockSizes.clear();
  const int closeCode = attached ? 0 : closeHandle();
  absoluteName.clear();
  handle = KX_NO_FILE_HANDLE;
  if (mapCode != 0) return mapCode;
  return unlockCode != 0 ? unlockCode : closeCode;
}

int KX_File::write(const void* buffer, int size, int* count) {
  if (size == 0) {
    if (count != nullptr) *count = 0;
    return 0;
  }
  int written = 0;
  const int code = writeBytes(buffer, size, written);
  if (count != nullptr) *count = written;
  return code;
}

int KX_File::map(unsigned char mapFlags, long long offset, int size, void** pointer) {
  const long long fileSize = getSize();
  if (fileSize <= offset) return report(KX_FILE_NOTHING_TO_MAP);
  long long length = size != 0 ? size : fileSize - offset;
  if (offset + length > fileSize) length = fileSize - offset;
  // The mapped size is kept as an int: a longer range can't be mapped.
  const int code = length > INT_MAX ? report(KX_FILE_MAP_FAILED)
                                    : mapRange(mapHandle, mapFlags, offset, static_cast<int>(length), mapPointer);
  if (code != 0) {
    mapPointer = nullptr;
    return code;
  }
  mapAccess = mapFlags;
  mapOffset = offset;
  mapSize = static_cast<int>(length);
  if (pointer != nullptr) *pointer = mapPointer;
  return 0;
}

int KX_File::lockRange(long long offset, long long size) {
  // The system would merge an overlapping range of the same file into the
  // one held; keeping ranges apart keeps both lists exact.
  for (int i = 0; i < lockOffsets.getCount(); ++i) {
    if (offset < lockOffsets.at(i) + lockSizes.at(i) && lockOffsets.at(i) < offset + size) {
      return report(KX_FILE_RANGE_LOCKED);
    }
  }
  const int code = lockBytes(offset, size);
  if (code != 0) return code;
  const int position = lockOffsets.findInsertPosition(offset);
  lockOffsets.insert(position, offset);
  lockSizes.insert(position, size);
  return 0;
}

int KX_File::unlockRange(long long offset) {
  const int i = lockOffsets.findSorted(offset);
  // No range starts there: nothing to unlock, which is a failed unlock.
  if (i < 0) return report(KX_FILE_LOCK_FAILED);
  const int code = unlockBytes(offset, lockSizes.at(i));
  lockOffsets.remove(i);
  lockSizes.remove(i);
  return code;
}

int KX_File::unlockAll() {
  while (lockOffsets.getCount() > 0) {
    const int code = unlockRange(lockOffsets.at(lockOffsets.getCount() - 1));
    if (code != 0) return code;
  }
  return 0;
}
