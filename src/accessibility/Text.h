#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tarnvik {

// Lower-cased, with every blank, U+2011 NON-BREAKING HYPHEN and "-" removed: how a query and a
// searchable string are compared, so that "log in" finds "Log-In".
std::string normalize(std::string_view text);

// Appends normalize(text) to `out`; the search uses it to avoid an allocation per string.
void appendNormalized(std::string_view text, std::string &out);

// User-perceived characters (grapheme clusters) of UTF-8 text.
std::size_t characterCount(std::string_view text);

} // namespace tarnvik
