#pragma once

/// Sounds the desktop's exclamation sound and returns at once; silent where the desktop has none.
void warningBeep();
