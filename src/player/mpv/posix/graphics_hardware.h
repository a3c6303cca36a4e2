#pragma once

/// True if this machine has graphics hardware that OpenGL can run on. False means that OpenGL, if there is any,
/// is emulated by the processor, where drawing without it is cheaper.
[[nodiscard]] bool hasGraphicsHardware();
