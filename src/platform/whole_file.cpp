#include "platform/whole_file.h"

std::error_code replaceWholeFile(const std::filesystem::path &file, std::string_view bytes)
{
    std::error_code error;
    const std::unique_ptr<FileReplacement> replacement = FileReplacement::create(file, error);
    if (!replacement)
        return error;
    if ((error = replacement->write(bytes)))
        return error;
    return replacement->commit();
}
