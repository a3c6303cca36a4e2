#include "util/error_reason.h"

#include <utility>

QString errorReason(const std::error_code &error)
{
    static constexpr std::pair<std::errc, const char *> reasons[] = {
        {std::errc::permission_denied, "нет прав доступа"},
        {std::errc::operation_not_permitted, "нет прав доступа"},
        {std::errc::read_only_file_system, "диск доступен только для чтения"},
        {std::errc::no_such_file_or_directory, "нет такого файла или папки"},
        {std::errc::file_exists, "файл или папка с этим именем уже есть"},
        {std::errc::not_a_directory, "часть пути не является папкой"},
        {std::errc::is_a_directory, "под этим именем есть папка"},
        {std::errc::directory_not_empty, "папка не пуста"},
        {std::errc::invalid_argument, "это не обычный файл"},
        {std::errc::no_space_on_device, "на диске нет свободного места"},
        {std::errc::file_too_large, "файл слишком велик"},
        {std::errc::value_too_large, "файл слишком велик"},
        {std::errc::filename_too_long, "слишком длинное имя файла"},
        {std::errc::illegal_byte_sequence, "диск не принимает знаки этого имени"},
        {std::errc::too_many_symbolic_link_levels, "слишком длинная цепочка ссылок"},
        {std::errc::too_many_links, "слишком много ссылок на файл"},
        {std::errc::cross_device_link, "файлы лежат на разных дисках"},
        {std::errc::device_or_resource_busy, "файл занят другой программой"},
        {std::errc::text_file_busy, "файл занят другой программой"},
        {std::errc::resource_unavailable_try_again, "файл занят другой программой"},
        {std::errc::resource_deadlock_would_occur, "файл занят другой программой"},
        {std::errc::no_lock_available, "диск не может запереть файл"},
        {std::errc::too_many_files_open, "открыто слишком много файлов"},
        {std::errc::too_many_files_open_in_system, "открыто слишком много файлов"},
        {std::errc::bad_file_descriptor, "файл уже закрыт"},
        {std::errc::not_enough_memory, "не хватает памяти"},
        {std::errc::io_error, "ошибка ввода-вывода"},
        {std::errc::no_such_device, "диск отключён"},
        {std::errc::no_such_device_or_address, "диск отключён"},
        {std::errc::timed_out, "диск не отвечает"},
        {std::errc::host_unreachable, "сетевой диск недоступен"},
        {std::errc::network_unreachable, "сетевой диск недоступен"},
        {std::errc::network_down, "сетевой диск недоступен"},
        {std::errc::not_connected, "сетевой диск недоступен"},
        {std::errc::connection_aborted, "сетевой диск недоступен"},
        {std::errc::connection_refused, "сетевой диск недоступен"},
        {std::errc::connection_reset, "сетевой диск недоступен"},
        {std::errc::interrupted, "операция прервана"},
        {std::errc::operation_canceled, "операция прервана"},
        {std::errc::not_supported, "диск этого не умеет"},
        {std::errc::operation_not_supported, "диск этого не умеет"},
        {std::errc::function_not_supported, "диск этого не умеет"},
        {std::errc::invalid_seek, "это не обычный файл"},
    };
    for (const auto &[condition, reason] : reasons) {
        if (error == condition)
            return QString::fromUtf8(reason);
    }
    return QStringLiteral("ошибка системы %1 (%2)")
        .arg(error.value())
        .arg(QString::fromLocal8Bit(error.message().c_str()));
}
