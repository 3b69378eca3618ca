// Fixed-width text fields of the application's records: zero-filled, then
// filled with at most their width of text, so a full field has no
// terminating zero.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>

namespace kerrow {

// The text of a field, which need not be zero-terminated when full.
template <size_t N>
std::string FieldText(const char (&field)[N]) {
    size_t n = 0;
    while (n < N && field[n] != '\0') ++n;
    return std::string(field, n);
}

// Zero-fills the field and copies at most its width of text into it.
template <size_t N>
void FillField(char (&field)[N], const std::string& text) {
    std::memset(field, 0, N);
    std::memcpy(field, text.data(), text.size() < N ? text.size() : N);
}

}  // namespace kerrow
