#include "platform/file_name.h"

std::u16string_view forbiddenInFileNames()
{
    return {};
}

std::string openableName(const std::string &file)
{
    return file;
}
