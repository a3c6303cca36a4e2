#include "platform/file_name.h"

#include "platform/windows/wide_text.h"

std::u16string_view forbiddenInFileNames()
{
    // A colon names a stream of another file.
    return u":*?\"<>|"
           u"\x1\x2\x3\x4\x5\x6\x7\x8\x9\xA\xB\xC\xD\xE\xF\x10"
           u"\x11\x12\x13\x14\x15\x16\x17\x18\x19\x1A\x1B\x1C\x1D\x1E\x1F";
}

std::string openableName(const std::string &file)
{
    return utf8Text(openableName(wideText(file)));
}
