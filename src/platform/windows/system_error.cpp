#include "platform/windows/system_error.h"

#include <windows.h>

std::error_code lastSystemError()
{
    const DWORD number = GetLastError();
    switch (number) {
    case ERROR_ACCESS_DENIED:
        return std::make_error_code(std::errc::permission_denied);
    case ERROR_WRITE_PROTECT:
        return std::make_error_code(std::errc::read_only_file_system);
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
        return std::make_error_code(std::errc::no_such_file_or_directory);
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_USER_MAPPED_FILE:
        return std::make_error_code(std::errc::device_or_resource_busy);
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
        return std::make_error_code(std::errc::no_space_on_device);
    case ERROR_FILE_TOO_LARGE:
        return std::make_error_code(std::errc::file_too_large);
    case ERROR_FILENAME_EXCED_RANGE:
        return std::make_error_code(std::errc::filename_too_long);
    case ERROR_CANT_RESOLVE_FILENAME:
        return std::make_error_code(std::errc::too_many_symbolic_link_levels);
    case ERROR_TOO_MANY_OPEN_FILES:
        return std::make_error_code(std::errc::too_many_files_open);
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
        return std::make_error_code(std::errc::not_enough_memory);
    case ERROR_NOT_READY:
    case ERROR_CRC:
    case ERROR_SEEK:
    case ERROR_READ_FAULT:
    case ERROR_WRITE_FAULT:
    case ERROR_GEN_FAILURE:
    case ERROR_IO_DEVICE:
    case ERROR_DEVICE_NOT_CONNECTED:
        return std::make_error_code(std::errc::io_error);
    default:
        return {static_cast<int>(number), std::system_category()};
    }
}
