#pragma once

/// Whether the program that holds the desktop's clipboard hands it over. One that hangs is waited for a second, and is
/// what false means; true where that cannot be asked. For a clipboard that this process does not hold itself.
[[nodiscard]] bool clipboardAnswers();
