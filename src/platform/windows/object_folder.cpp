#include "platform/object_folder.h"

// The system keeps named objects in no folder.
std::optional<RefusedFolder> refusedObjectFolder()
{
    return std::nullopt;
}
