#include "internal/errno_map.h"

#include <cerrno>

namespace {
thread_local DWORD t_lastError = 0;
}

DWORD GetLastError() {
    return t_lastError;
}

void SetLastError(DWORD error) {
    t_lastError = error;
}

namespace mvplat {

DWORD errorFromErrno(int number) {
    switch (number) {
    case 0:
        return NO_ERROR;
    case EPERM:
    case EACCES:
    case EISDIR:
    case ETXTBSY:
        return ERROR_ACCESS_DENIED;
    case ENOENT:
        return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
        return ERROR_PATH_NOT_FOUND;
    case EEXIST:
        return ERROR_ALREADY_EXISTS;
    case ENOTEMPTY:
        return ERROR_DIR_NOT_EMPTY;
    case EBADF:
        return ERROR_INVALID_HANDLE;
    case EBUSY:
        return ERROR_BUSY;
    case ENOMEM:
    case EAGAIN:
        return ERROR_NOT_ENOUGH_MEMORY;
    case EINVAL:
        return ERROR_INVALID_PARAMETER;
    case EFAULT:
        return ERROR_NOACCESS;
    case EMFILE:
    case ENFILE:
        return ERROR_TOO_MANY_OPEN_FILES;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return ERROR_DISK_FULL;
    case EROFS:
        return ERROR_WRITE_PROTECT;
    case EXDEV:
        return ERROR_NOT_SAME_DEVICE;
    case ENAMETOOLONG:
        return ERROR_FILENAME_EXCED_RANGE;
    case ELOOP:
        return ERROR_CANT_RESOLVE_FILENAME;
    case EMLINK:
        return ERROR_TOO_MANY_LINKS;
    case EPIPE:
        return ERROR_NO_DATA;
    case EIO:
        return ERROR_IO_DEVICE;
    case ENODEV:
    case ENXIO:
        return ERROR_NOT_READY;
    case ESPIPE:
        return ERROR_SEEK_ON_DEVICE;
    case ENOSYS:
    case EOPNOTSUPP:
        return ERROR_NOT_SUPPORTED;
    default:
        return ERROR_GEN_FAILURE;
    }
}

void setLastErrno() {
    SetLastError(errorFromErrno(errno));
}

} // namespace mvplat
