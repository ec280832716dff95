#pragma once

/// Makes a class or function visible to programs that link the libraries. Everything else is compiled with hidden
/// visibility. ELF needs no difference between building a library and using it, so one macro serves all libraries.
#define TARSEL_EXPORT __attribute__((visibility("default")))
