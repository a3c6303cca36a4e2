#pragma once

#include <string>

/// Asks the desktop to open `address`, a web address or the full path of a file (UTF-8), with the user's own
/// handler for it. Returns at once and reports nothing: what cannot be opened is the desktop's to tell.
void shellOpen(const std::string &address);
