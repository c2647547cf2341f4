#include "platform/KX_FileSystem.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "foundation/KX_FileFlags.h"
#include "platform/KX_FileErrorTable.h"

// Locks of the open file (Linux) conflict between two descriptors of one
// process. Where they are missing, the process's own record locks stand in;
// those don't keep a second descriptor of the same process out.
#if defined(F_OFD_SETLK)
#define KX_LOCK_SET F_OFD_SETLK
#define KX_LOCK_GET F_OFD_GETLK
#else
#define KX_LOCK_SET F_SETLK
#define KX_LOCK_GET F_GETLK
#endif

namespace {

int failure(KX_FileCall call, int error) {
  return KX_fileCodeForError(call, error);
}

// The system's spelling of a name: backslashes become forward slashes.
KX_String systemPath(const char* name) {
  return KX_String(name).replaceChar('\\', '/');
}

bool directoryExists(const KX_String& path) {
  const char* text = path.getText();
  const char* lastSlash = std::strrchr(text, '/');
  KX_String directory = lastSlash == nullptr ? KX_String(".") : path.substring(0, static_cast<int>(lastSlash - text));
  if (directory.getLength() == 0) directory = KX_String("/");
  struct stat status;
  return stat(directory.getText(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Whether a descriptor other than this one holds a lock on `size` bytes at the
// position. The system's locks only keep out other lockers; reads and writes
// check here so that a locked range is kept from them too.
bool isLockedElsewhere(KX_FileHandle handle, int size) {
  if (size <= 0) return false;
  const off_t position = lseek(handle, 0, SEEK_CUR);
  if (position < 0) return false;  // pipes and terminals have no ranges to lock
  struct flock probe;
  std::memset(&probe, 0, sizeof probe);
  probe.l_type = F_WRLCK;
  probe.l_whence = SEEK_SET;
  probe.l_start = position;
  probe.l_len = size;
  if (fcntl(handle, KX_LOCK_GET, &probe) != 0) return false;
  return probe.l_type != F_UNLCK;
}

int changeLock(KX_FileHandle handle, short type, long long offset, long long size) {
  // A length of 0 would lock up to any end the file ever gets; none of that.
  if (offset < 0 || size <= 0) return failure(KX_FileCall::lock, EINVAL);
  struct flock range;
  std::memset(&range, 0, sizeof range);
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = static_cast<off_t>(offset);
  range.l_len = static_cast<off_t>(size);
  if (fcntl(handle, KX_LOCK_SET, &range) != 0) return failure(KX_FileCall::lock, errno);
  return 0;
}

// Days from 1 January 1970 to the date, in the Gregorian calendar carried back.
long long daysFromCivil(long long year, int month, int day) {
  year -= month <= 2 ? 1 : 0;
  const long long era = (year >= 0 ? year : year - 399) / 400;
  const long long yearOfEra = year - era * 400;
  const long long dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const long long dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + dayOfEra - 719468;
}

bool isLeapYear(int year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

bool isCalendarTime(const KX_DateTime& stamp) {
  static const int kDaysInMonth[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (stamp.year < 1 || stamp.month < 1 || stamp.month > 12) return false;
  const int days = kDaysInMonth[stamp.month - 1] + (stamp.month == 2 && isLeapYear(stamp.year) ? 1 : 0);
  const int milliseconds = stamp.microseconds / 1000;
  return stamp.day >= 1 && stamp.day <= days && stamp.hour >= 0 && stamp.hour < 24 && stamp.minute >= 0 &&
         stamp.minute < 60 && stamp.second >= 0 && stamp.second < 60 && milliseconds >= 0 && milliseconds < 1000;
}

}  // namespace

int KX_makeTemporaryFile(const char* directory, KX_String& chosenName) {
  KX_String pattern = systemPath(directory);
  if (pattern.getLength() > 0 && pattern.getText()[pattern.getLength() - 1] != '/') pattern = pattern.concat("/");
  pattern = pattern.concat("kx_XXXXXX");
  const int descriptor = mkostemp(pattern.getBuffer(), O_CLOEXEC);
  if (descriptor < 0) return failure(KX_FileCall::temporaryName, errno);
  close(descriptor);
  chosenName = pattern;
  return 0;
}

// The sharing flags have no counterpart here: the system never refuses a
// second open for the sake of a first one, so they are ignored.
int KX_openFile(const char* name, unsigned char access, unsigned char createFlags, bool create, KX_FileHandle* handle) {
  *handle = KX_NO_FILE_HANDLE;
  const KX_String path = systemPath(name);
  const KX_FileCall call = create ? KX_FileCall::create : KX_FileCall::openExisting;
  const bool reading = (access & KX_ACCESS_READ) != 0;
  const bool writing = (access & KX_ACCESS_WRITE) != 0;
  // Neither read nor write still gives a descriptor, good for the size, the
  // time stamp and the mapping of nothing.
  int flags = O_CLOEXEC | (writing ? (reading ? O_RDWR : O_WRONLY) : O_RDONLY);
  if ((access & KX_ACCESS_WRITE_THROUGH) != 0) flags |= O_DSYNC;
  if (create) flags |= O_CREAT | ((createFlags & KX_CREATE_OVERWRITE) != 0 ? O_TRUNC : O_EXCL);

  int descriptor;
  do {
    descriptor = open(path.getText(), flags, 0666);
  } while (descriptor < 0 && errno == EINTR);
  if (descriptor < 0) {
    int error = errno;
    // ENOENT stands for a missing file and a missing directory alike; the
    // table tells them apart, so a missing directory goes in as ENOTDIR.
    if (error == ENOENT && !directoryExists(path)) error = ENOTDIR;
    return failure(call, error);
  }
  struct stat status;
  if (fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
    close(descriptor);
    return failure(call, EISDIR);
  }
  *handle = descriptor;
  return 0;
}

int KX_closeFile(KX_FileHandle handle, const char* deleteName) {
  // No retry on EINTR: the descriptor is gone all the same.
  const int result = close(handle) == 0 ? 0 : failure(KX_FileCall::close, errno);
  if (deleteName != nullptr) unlink(systemPath(deleteName).getText());
  return result;
}

int KX_readFile(KX_FileHandle handle, void* buffer, int size, int* count) {
  *count = 0;
  if (size < 0) return failure(KX_FileCall::read, EINVAL);
  if (isLockedElsewhere(handle, size)) return failure(KX_FileCall::read, EAGAIN);
  char* bytes = static_cast<char*>(buffer);
  int done = 0;
  while (done < size) {
    const ssize_t n = read(handle, bytes + done, static_cast<std::size_t>(size - done));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return failure(KX_FileCall::read, errno);
    if (n == 0) break;  // the end of the file
    done += static_cast<int>(n);
  }
  *count = done;
  return 0;
}

int KX_writeFile(KX_FileHandle handle, const void* buffer, int size, int* count) {
  *count = 0;
  if (size < 0) return failure(KX_FileCall::write, EINVAL);
  if (isLockedElsewhere(handle, size)) return failure(KX_FileCall::write, EAGAIN);
  const char* bytes = static_cast<const char*>(buffer);
  int done = 0;
  while (done < size) {
    const ssize_t n = write(handle, bytes + done, static_cast<std::size_t>(size - done));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return failure(KX_FileCall::write, errno);
    done += static_cast<int>(n);
  }
  *count = done;
  return 0;
}

int KX_getFileSize(KX_FileHandle handle, long long* size) {
  struct stat status;
  if (fstat(handle, &status) != 0) return failure(KX_FileCall::position, errno);
  *size = static_cast<long long>(status.st_size);
  return 0;
}

int KX_seekFile(KX_FileHandle handle, long long offset, int origin, long long* position) {
  static const int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  if (origin < 0 || origin > 2) return failure(KX_FileCall::position, EINVAL);
  const off_t reached = lseek(handle, static_cast<off_t>(offset), kWhence[origin]);
  if (reached < 0) return failure(KX_FileCall::position, errno);
  *position = static_cast<long long>(reached);
  return 0;
}

int KX_setEndOfFile(KX_FileHandle handle) {
  const off_t position = lseek(handle, 0, SEEK_CUR);
  if (position < 0) return failure(KX_FileCall::position, errno);
  if (ftruncate(handle, position) != 0) return failure(KX_FileCall::write, errno);
  return 0;
}

int KX_getFileTime(KX_FileHandle handle, KX_DateTime* stamp) {
  struct stat status;
  if (fstat(handle, &status) != 0) return failure(KX_FileCall::getTime, errno);
  const time_t seconds = status.st_mtim.tv_sec;
  struct tm parts;
  if (gmtime_r(&seconds, &parts) == nullptr) return failure(KX_FileCall::getTime, EOVERFLOW);
  const long long year = static_cast<long long>(parts.tm_year) + 1900;
  if (year < 1 || year > 32767) return failure(KX_FileCall::getTime, EOVERFLOW);
  stamp->setDate(static_cast<std::int16_t>(parts.tm_mday), static_cast<std::int16_t>(parts.tm_mon + 1),
                 static_cast<std::int16_t>(year));
  // Milliseconds are what a stamp carries across: the rest is cut off.
  stamp->setTime(static_cast<std::int16_t>(parts.tm_hour), static_cast<std::int16_t>(parts.tm_min),
                 static_cast<std::int16_t>(parts.tm_sec), static_cast<int>(status.st_mtim.tv_nsec / 1000000) * 1000);
  return 0;
}

int KX_setFileTime(KX_FileHandle handle, const KX_DateTime& stamp) {
  if (!isCalendarTime(stamp)) return failure(KX_FileCall::setTime, EINVAL);
  const long long days = daysFromCivil(stamp.year, stamp.month, stamp.day);
  struct timespec times[2];
  times[0].tv_sec = 0;
  times[0].tv_nsec = UTIME_OMIT;  // the access time stays
  times[1].tv_sec = static_cast<time_t>(days * 86400 + stamp.hour * 3600 + stamp.minute * 60 + stamp.second);
  times[1].tv_nsec = static_cast<long>(stamp.microseconds / 1000) * 1000000L;
  if (futimens(handle, times) != 0) return failure(KX_FileCall::setTime, errno);
  return 0;
}

// Read-only is a file without the owner's write permission; hidden, a name
// that starts with a full stop; executable, a file the owner may run. Archive
// and system have no counterpart: they are never reported, and ignored when set.
int KX_getFileAttributes(const char* name, unsigned char* attributes) {
  const KX_String path = systemPath(name);
  struct stat status;
  if (stat(path.getText(), &status) != 0) return failure(KX_FileCall::getAttributes, errno);
  unsigned char found = 0;
  if ((status.st_mode & S_IWUSR) == 0) found |= KX_ATTRIBUTE_READ_ONLY;
  if (S_ISREG(status.st_mode) && (status.st_mode & S_IXUSR) != 0) found |= KX_ATTRIBUTE_EXECUTABLE;
  const char* lastSlash = std::strrchr(path.getText(), '/');
  const char* base = lastSlash != nullptr ? lastSlash + 1 : path.getText();
  if (base[0] == '.' && std::strcmp(base, ".") != 0 && std::strcmp(base, "..") != 0) {
    found |= KX_ATTRIBUTE_HIDDEN;
  }
  *attributes = found;
  return 0;
}

// Only read-only can be set: hiding a file would take a new name.
int KX_setFileAttributes(const char* name, unsigned char attributes) {
  const KX_String path = systemPath(name);
  struct stat status;
  if (stat(path.getText(), &status) != 0) return failure(KX_FileCall::setAttributes, errno);
  const mode_t permissions = status.st_mode & 07777;
  const mode_t wanted =
      (attributes & KX_ATTRIBUTE_READ_ONLY) != 0 ? permissions & ~static_cast<mode_t>(0222) : permissions | S_IWUSR;
  if (wanted != permissions && chmod(path.getText(), wanted) != 0) {
    return failure(KX_FileCall::setAttributes, errno);
  }
  return 0;
}

// There are no executable images to map here: KX_MAP_IMAGE maps the file
// read-only, like KX_MAP_READ.
int KX_mapFile(KX_FileHandle handle, unsigned char mapFlags, KX_MapHandle* mapHandle, void** view) {
  *mapHandle = 0;
  *view = nullptr;
  struct stat status;
  if (fstat(handle, &status) != 0) return failure(KX_FileCall::map, errno);
  if (status.st_size <= 0) return failure(KX_FileCall::map, EINVAL);
  const int protection = (mapFlags & KX_MAP_WRITE) != 0 ? PROT_READ | PROT_WRITE : PROT_READ;
  const std::size_t length = static_cast<std::size_t>(status.st_size);
  void* start = mmap(nullptr, length, protection, MAP_SHARED, handle, 0);
  if (start == MAP_FAILED) return failure(KX_FileCall::map, errno);
  *mapHandle = length;
  *view = start;
  return 0;
}

int KX_unmapFile(KX_MapHandle* mapHandle, void* view) {
  if (munmap(view, *mapHandle) != 0) return failure(KX_FileCall::unmap, errno);
  *mapHandle = 0;
  return 0;
}

// A descriptor open for reading only can take shared locks alone: two of
// those on one range don't keep each other out.
int KX_lockFileRange(KX_FileHandle handle, long long offset, long long size) {
  const int mode = fcntl(handle, F_GETFL);
  if (mode < 0) return failure(KX_FileCall::lock, errno);
  return changeLock(handle, (mode & O_ACCMODE) == O_RDONLY ? F_RDLCK : F_WRLCK, offset, size);
}

int KX_unlockFileRange(KX_FileHandle handle, long long offset, long long size) {
  return changeLock(handle, F_UNLCK, offset, size);
}

int KX_readWorkingDirectory(KX_String& directory) {
  KX_CharArray buffer;
  for (int size = 256;; size *= 2) {
    buffer.resize(size);
    if (getcwd(buffer.getBuffer(), static_cast<std::size_t>(size)) != nullptr) break;
    if (errno != ERANGE || size >= (1 << 24)) return failure(KX_FileCall::currentDirectory, errno);
  }
  directory = KX_String(buffer.getBuffer());
  return 0;
}
