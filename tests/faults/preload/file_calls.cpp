// Files, by descriptor and as streams.

#include "faults/preload/interception.h"

#include <dirent.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstdio>

// The mode is passed on also by those who gave none: it is then nobody's, and not looked at.
FAULTS_ERRNO_CALL(int, -1, open, (const char* path, int flags, mode_t mode), (path, flags, mode))
FAULTS_ERRNO_CALL(int, -1, open64, (const char* path, int flags, mode_t mode), (path, flags, mode))
FAULTS_ERRNO_CALL(int, -1, openat, (int folder, const char* path, int flags, mode_t mode), (folder, path, flags, mode))
FAULTS_ERRNO_CALL(int, -1, openat64, (int folder, const char* path, int flags, mode_t mode),
                  (folder, path, flags, mode))
FAULTS_ERRNO_CALL(int, -1, __open64_2, (const char* path, int flags), (path, flags))
FAULTS_ERRNO_CALL(ssize_t, -1, read, (int file, void* bytes, size_t size), (file, bytes, size))
FAULTS_ERRNO_CALL(ssize_t, -1, write, (int file, const void* bytes, size_t size), (file, bytes, size))
FAULTS_ERRNO_CALL(ssize_t, -1, readv, (int file, const iovec* parts, int count), (file, parts, count))
FAULTS_ERRNO_CALL(ssize_t, -1, writev, (int file, const iovec* parts, int count), (file, parts, count))
FAULTS_ERRNO_CALL(int, -1, fstat, (int file, void* status), (file, status))
FAULTS_ERRNO_CALL(int, -1, fstat64, (int file, void* status), (file, status))
FAULTS_ERRNO_CALL(int, -1, stat, (const char* path, void* status), (path, status))
FAULTS_ERRNO_CALL(int, -1, stat64, (const char* path, void* status), (path, status))
FAULTS_ERRNO_CALL(int, -1, lstat, (const char* path, void* status), (path, status))
FAULTS_ERRNO_CALL(int, -1, lstat64, (const char* path, void* status), (path, status))
FAULTS_ERRNO_CALL(int, -1, statx, (int folder, const char* path, int flags, unsigned mask, void* status),
                  (folder, path, flags, mask, status))
FAULTS_ERRNO_CALL(int, -1, unlink, (const char* path), (path))
FAULTS_ERRNO_CALL(int, -1, unlinkat, (int folder, const char* path, int flags), (folder, path, flags))
FAULTS_ERRNO_CALL(int, -1, remove, (const char* path), (path))
FAULTS_ERRNO_CALL(int, -1, rmdir, (const char* path), (path))
FAULTS_ERRNO_CALL(int, -1, rename, (const char* from, const char* to), (from, to))
FAULTS_ERRNO_CALL(int, -1, renameat, (int fromFolder, const char* from, int toFolder, const char* to),
                  (fromFolder, from, toFolder, to))
FAULTS_ERRNO_CALL(int, -1, renameat2, (int fromFolder, const char* from, int toFolder, const char* to, unsigned flags),
                  (fromFolder, from, toFolder, to, flags))
FAULTS_ERRNO_CALL(int, -1, mkdir, (const char* path, mode_t mode), (path, mode))
FAULTS_ERRNO_CALL(int, -1, fchmod, (int file, mode_t mode), (file, mode))
FAULTS_ERRNO_CALL(int, -1, ftruncate64, (int file, off64_t size), (file, size))
FAULTS_ERRNO_CALL(int, -1, fsync, (int file), (file))
FAULTS_ERRNO_CALL(int, -1, fdatasync, (int file), (file))
FAULTS_ERRNO_CALL(int, -1, syncfs, (int file), (file))
FAULTS_ERRNO_CALL(int, -1, sync_file_range, (int file, off64_t from, off64_t size, unsigned flags),
                  (file, from, size, flags))
FAULTS_ERRNO_CALL(ssize_t, -1, readlink, (const char* path, char* text, size_t size), (path, text, size))
FAULTS_ERRNO_CALL(char*, nullptr, realpath, (const char* path, char* resolved), (path, resolved))
FAULTS_ERRNO_CALL(DIR*, nullptr, opendir, (const char* path), (path))
FAULTS_ERRNO_CALL(DIR*, nullptr, fdopendir, (int file), (file))
FAULTS_ERRNO_CALL(dirent*, nullptr, readdir, (DIR * folder), (folder))
FAULTS_ERRNO_CALL(dirent*, nullptr, readdir64, (DIR * folder), (folder))

FAULTS_ERRNO_CALL(FILE*, nullptr, fopen, (const char* path, const char* mode), (path, mode))
FAULTS_ERRNO_CALL(FILE*, nullptr, fopen64, (const char* path, const char* mode), (path, mode))
FAULTS_ERRNO_CALL(FILE*, nullptr, fdopen, (int file, const char* mode), (file, mode))
// A stream remembers that it has failed: without that, a read that failed would be the file's end.
#define STREAM_CALL(RESULT, FAILED, NAME, PARAMETERS, ARGUMENTS) \
  FAULTS_CALL(RESULT, NAME, PARAMETERS, ARGUMENTS, {             \
    stream->_flags |= _IO_ERR_SEEN;                              \
    errno = fault;                                               \
    return FAILED;                                               \
  })

STREAM_CALL(char*, nullptr, fgets, (char* line, int size, FILE* stream), (line, size, stream))
STREAM_CALL(size_t, 0, fread, (void* bytes, size_t size, size_t count, FILE* stream), (bytes, size, count, stream))
STREAM_CALL(size_t, 0, fwrite, (const void* bytes, size_t size, size_t count, FILE* stream),
            (bytes, size, count, stream))
STREAM_CALL(size_t, 0, fwrite_unlocked, (const void* bytes, size_t size, size_t count, FILE* stream),
            (bytes, size, count, stream))
STREAM_CALL(int, EOF, fflush, (FILE * stream), (stream))

// A close that fails has closed all the same: the kernel gives the descriptor back first.
#define CLOSE_CALL(NAME, TYPE, FAILED)                                         \
  FAULTS_CALL(int, NAME, (TYPE what), (what), {                                \
    reinterpret_cast<int (*)(TYPE)>(faults::nextFunction(known, #NAME))(what); \
    errno = fault;                                                             \
    return FAILED;                                                             \
  })

CLOSE_CALL(close, int, -1)
CLOSE_CALL(fclose, FILE*, EOF)
CLOSE_CALL(closedir, DIR*, -1)
