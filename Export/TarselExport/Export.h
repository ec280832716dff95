#pragma once

/// Marks what programs that link the libraries may see. Everything else is compiled with hidden visibility.
/// ELF needs no difference between building a library and using it, so one macro serves all of them.
#define TARSEL_EXPORT __attribute__((visibility("default")))
