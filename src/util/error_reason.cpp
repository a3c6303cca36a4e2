#include "util/error_reason.h"

#include <array>
#include <utility>

QString errorReason(const std::error_code &error)
{
    static constexpr std::array<std::pair<std::errc, const char *>, 17> reasons{{
        {std::errc::permission_denied, "нет прав доступа"},
        {std::errc::operation_not_permitted, "нет прав доступа"},
        {std::errc::read_only_file_system, "диск доступен только для чтения"},
        {std::errc::no_such_file_or_directory, "нет такого файла или папки"},
        {std::errc::not_a_directory, "часть пути не является папкой"},
        {std::errc::is_a_directory, "под этим именем есть папка"},
        {std::errc::invalid_argument, "это не обычный файл"},
        {std::errc::no_space_on_device, "на диске нет свободного места"},
        {std::errc::file_too_large, "файл слишком велик"},
        {std::errc::filename_too_long, "слишком длинное имя файла"},
        {std::errc::too_many_symbolic_link_levels, "слишком длинная цепочка ссылок"},
        {std::errc::device_or_resource_busy, "файл занят другой программой"},
        {std::errc::text_file_busy, "файл занят другой программой"},
        {std::errc::too_many_files_open, "открыто слишком много файлов"},
        {std::errc::too_many_files_open_in_system, "открыто слишком много файлов"},
        {std::errc::not_enough_memory, "не хватает памяти"},
        {std::errc::io_error, "ошибка ввода-вывода"},
    }};
    for (const auto &[condition, reason] : reasons) {
        if (error == condition)
            return QString::fromUtf8(reason);
    }
    return QString::fromLocal8Bit(error.message().c_str());
}
