#pragma once
// UTF-8 text to and from the UTF-16LE code units of message images.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace launchagent::utf16 {

inline constexpr char32_t kReplacement = 0xFFFD;

// Calls f(code unit) for each UTF-16 code unit of the UTF-8 text, until f returns
// false. A byte that does not start a well-formed sequence becomes U+FFFD.
template <typename F>
bool ForEachUnit(std::string_view s, F&& f) {
  const auto* p = reinterpret_cast<const unsigned char*>(s.data());
  const std::size_t n = s.size();
  std::size_t i = 0;
  while (i < n) {
    const unsigned char b0 = p[i];
    if (b0 < 0x80) {
      if (!f(static_cast<char16_t>(b0))) return false;
      ++i;
      continue;
    }
    char32_t cp = kReplacement;
    std::size_t len = 1;
    auto cont = [&](std::size_t k) { return i + k < n && (p[i + k] & 0xC0) == 0x80; };
    if (b0 >= 0xC2 && b0 <= 0xDF && cont(1)) {
      cp = (static_cast<char32_t>(b0 & 0x1F) << 6) | (p[i + 1] & 0x3F);
      len = 2;
    } else if (b0 >= 0xE0 && b0 <= 0xEF && cont(1) && cont(2)) {
      const char32_t c = (static_cast<char32_t>(b0 & 0x0F) << 12) |
                         (static_cast<char32_t>(p[i + 1] & 0x3F) << 6) | (p[i + 2] & 0x3F);
      if (c >= 0x800 && (c < 0xD800 || c > 0xDFFF)) {
        cp = c;
        len = 3;
      }
    } else if (b0 >= 0xF0 && b0 <= 0xF4 && cont(1) && cont(2) && cont(3)) {
      const char32_t c = (static_cast<char32_t>(b0 & 0x07) << 18) |
                         (static_cast<char32_t>(p[i + 1] & 0x3F) << 12) |
                         (static_cast<char32_t>(p[i + 2] & 0x3F) << 6) | (p[i + 3] & 0x3F);
      if (c >= 0x10000 && c <= 0x10FFFF) {
        cp = c;
        len = 4;
      }
    }
    i += len;
    if (cp >= 0x10000) {
      const char32_t v = cp - 0x10000;
      if (!f(static_cast<char16_t>(0xD800 + (v >> 10)))) return false;
      if (!f(static_cast<char16_t>(0xDC00 + (v & 0x3FF)))) return false;
    } else if (!f(static_cast<char16_t>(cp))) {
      return false;
    }
  }
  return true;
}

bool IsAscii(std::string_view s);
std::size_t CountUnits(std::string_view s);
// UTF-16LE to UTF-8; an unpaired surrogate becomes U+FFFD.
void Utf16ToUtf8(const std::uint8_t* p, std::size_t nUnits, std::string& out);

}  // namespace launchagent::utf16
