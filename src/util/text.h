// Texts: fixed-size fields, bounded printing, decimal numbers as the gateway reads them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace util {

// Copies `text` into the `size` bytes at `field`: cut silently when too long, always terminated.
void CopyText(char* field, std::size_t size, std::string_view text);

// Fills a fixed text field; the field's own size is the limit.
template <std::size_t N>
void CopyText(char (&field)[N], std::string_view text) {
  CopyText(field, N, text);
}

// Prints into the `size` bytes at `field`: cut silently when too long, always terminated.
__attribute__((format(printf, 3, 4))) void PrintText(char* field, std::size_t size,
                                                     const char* format, ...);

// Prints into a text as long as the result.
__attribute__((format(printf, 1, 2))) std::string Format(const char* format, ...);

// The part of `path` after the last "/", or the whole path when it has none.
std::string_view BaseName(std::string_view path);

// The decimal number at the start of `text`. Leading white space and a sign are allowed, and the
// first other character ends the number. A number out of range gives the nearest end of the range,
// no number gives 0. This is what `strtol` does on the gateway, where long has 32 bits.
std::int32_t Decimal(const char* text);

}  // namespace util
