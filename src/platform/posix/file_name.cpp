#include "platform/file_name.h"

std::u16string_view forbiddenInFileNames()
{
    return {};
}
