// Owns the forms that texts inside the gateway's documents must have.
#pragma once

#include <cstddef>
#include <string_view>

namespace cloud {

// Exactly `count` decimal digits.
bool IsDigits(std::string_view text, std::size_t count);

// At least `least` and at most `most` hexadecimal digits, the letters in upper case.
bool IsUpperHex(std::string_view text, std::size_t least, std::size_t most);

// A possible time as "YYYY-MM-DD hh:mm:ss".
bool IsTimeMark(std::string_view text);

// A decimal number with exactly three decimals, or the first `fieldCharacters` characters of one
// that is longer: the gateway cuts at its field's end.
bool IsValueText(std::string_view text, std::size_t fieldCharacters);

// An alarm's description: a name, then the threshold like "(阀值:30.000)"; or, of `fieldBytes`
// bytes, the beginning of a longer one, which the gateway cuts there.
bool IsDescription(std::string_view text, std::size_t fieldBytes);

// A data file's name: the letter, a 14-digit stamp, ".tar.gz".
bool IsArchiveName(std::string_view name, char letter);

}  // namespace cloud
