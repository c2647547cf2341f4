#include "platform/KX_FileErrorTable.h"

#include <cerrno>

#include "foundation/KX_FileCodes.h"

namespace {

struct ErrorRow {
  KX_FileCall call;
  int error;
  int code;
};

// Errors with a meaning of their own in one call. These rows are read before
// the common ones below, since a lock that another descriptor holds comes back
// as EACCES or EAGAIN, which means "range is locked" there and not "access
// denied". Mandatory locks make read and write fail with EAGAIN too (and the
// layer reports a lock held elsewhere on the range being read or written the
// same way), which is why EAGAIN means "range is locked" for them.
constexpr ErrorRow kSpecificRows[] = {
    {KX_FileCall::lock, EACCES, KX_FILE_RANGE_LOCKED},
    {KX_FileCall::lock, EAGAIN, KX_FILE_RANGE_LOCKED},

    {KX_FileCall::temporaryName, ENOSPC, KX_FILE_DISK_FULL},
    {KX_FileCall::temporaryName, EDQUOT, KX_FILE_DISK_FULL},

    {KX_FileCall::create, EEXIST, KX_FILE_EXISTS},
    // On creation a missing entry can only be a directory on the way.
    {KX_FileCall::create, ENOENT, KX_FILE_PATH_NOT_FOUND},
    {KX_FileCall::create, ENOTDIR, KX_FILE_PATH_NOT_FOUND},
    {KX_FileCall::create, ENAMETOOLONG, KX_FILE_PATH_NOT_FOUND},
    {KX_FileCall::create, ELOOP, KX_FILE_PATH_NOT_FOUND},
    {KX_FileCall::create, ENOSPC, KX_FILE_DISK_FULL},
    {KX_FileCall::create, EDQUOT, KX_FILE_DISK_FULL},

    // The layer turns ENOENT into ENOTDIR when the directory itself is missing.
    {KX_FileCall::openExisting, ENOENT, KX_FILE_NOT_FOUND},
    {KX_FileCall::openExisting, ENOTDIR, KX_FILE_PATH_NOT_FOUND},
    {KX_FileCall::openExisting, ENAMETOOLONG, KX_FILE_PATH_NOT_FOUND},
    {KX_FileCall::openExisting, ELOOP, KX_FILE_PATH_NOT_FOUND},

    {KX_FileCall::close, ENOSPC, KX_FILE_DISK_FULL},
    {KX_FileCall::close, EDQUOT, KX_FILE_DISK_FULL},

    {KX_FileCall::read, EAGAIN, KX_FILE_RANGE_LOCKED},

    {KX_FileCall::write, EAGAIN, KX_FILE_RANGE_LOCKED},
    {KX_FileCall::write, ENOSPC, KX_FILE_DISK_FULL},
    {KX_FileCall::write, EDQUOT, KX_FILE_DISK_FULL},
    {KX_FileCall::write, EFBIG, KX_FILE_DISK_FULL},

    {KX_FileCall::getAttributes, ENOENT, KX_FILE_NOT_FOUND},

    // ENODEV: the kind of file can't be mapped. EINVAL: the arguments the
    // layer passes are valid for any file but an empty one.
    {KX_FileCall::map, ENODEV, KX_FILE_NOTHING_TO_MAP},
    {KX_FileCall::map, EINVAL, KX_FILE_NOTHING_TO_MAP},
};

// Denied access gives the same code in every call. ETXTBSY, a running
// program opened for writing, is the system's nearest thing to a sharing
// violation; that one doesn't count as denied access when a temporary name is
// chosen.
constexpr int kAccessDeniedErrors[] = {EACCES, EPERM, ETXTBSY};

bool isAccessDenied(KX_FileCall call, int error) {
  if (error == ETXTBSY && call == KX_FileCall::temporaryName) return false;
  for (int denied : kAccessDeniedErrors) {
    if (denied == error) return true;
  }
  return false;
}

// What any other error of a call gives, in the order of KX_FileCall.
constexpr int kOtherErrorCodes[] = {
    KX_FILE_PATH_NOT_FOUND,        // temporaryName
    KX_FILE_CANNOT_CREATE,         // create
    KX_FILE_CANNOT_OPEN,           // openExisting
    KX_FILE_CANNOT_CLOSE,          // close
    KX_FILE_READ_FAILED,           // read
    KX_FILE_WRITE_FAILED,          // write
    KX_FILE_NO_POSITION,           // position
    KX_FILE_READ_FAILED,           // getTime
    KX_FILE_WRITE_FAILED,          // setTime
    KX_FILE_READ_FAILED,           // getAttributes
    KX_FILE_WRITE_FAILED,          // setAttributes
    KX_FILE_LOCK_FAILED,           // lock
    KX_FILE_MAP_FAILED,            // map
    KX_FILE_MAP_FAILED,            // unmap
    KX_FILE_NO_CURRENT_DIRECTORY,  // currentDirectory
};
static_assert(sizeof kOtherErrorCodes / sizeof kOtherErrorCodes[0] ==
                  static_cast<int>(KX_FileCall::currentDirectory) + 1,
              "one code for each call");

}  // namespace

int KX_fileCodeForError(KX_FileCall call, int error) {
  // Whatever keeps the working directory from being read, the code is the same.
  if (call == KX_FileCall::currentDirectory) return KX_FILE_NO_CURRENT_DIRECTORY;
  for (const ErrorRow& row : kSpecificRows) {
    if (row.call == call && row.error == error) return row.code;
  }
  if (isAccessDenied(call, error)) return KX_FILE_ACCESS_DENIED;
  return kOtherErrorCodes[static_cast<int>(call)];
}
