#include "messages/utf16_text.h"

#include <bit>
#include <cstring>

namespace launchagent::utf16 {
namespace {

std::uint16_t Get16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

void AppendUtf8(std::string& out, char32_t cp) {
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

}  // namespace

bool IsAscii(std::string_view s) {
  unsigned char bits = 0;
  for (const char c : s) bits |= static_cast<unsigned char>(c);
  return bits < 0x80;
}

std::size_t CountUnits(std::string_view s) {
  std::size_t n = 0;
  ForEachUnit(s, [&](char16_t) {
    ++n;
    return true;
  });
  return n;
}

// UTF-16LE to UTF-8; an unpaired surrogate becomes U+FFFD.
void Utf16ToUtf8(const std::uint8_t* p, std::size_t nUnits, std::string& out) {
  // ASCII first, written in place four units at a time; the rest, if any, one code point
  // at a time.
  out.resize(nUnits);
  std::size_t i = 0;
  if constexpr (std::endian::native == std::endian::little) {
    for (; i + 4 <= nUnits; i += 4) {
      std::uint64_t v;
      std::memcpy(&v, p + 2 * i, 8);
      if (v & 0xFF80FF80FF80FF80ull) break;
      const auto n = static_cast<std::uint32_t>((v & 0xFF) | ((v >> 8) & 0xFF00) |
                                                ((v >> 16) & 0xFF0000) | ((v >> 24) & 0xFF000000));
      std::memcpy(out.data() + i, &n, 4);
    }
  }
  for (; i < nUnits; ++i) {
    const char16_t c = Get16(p + 2 * i);
    if (c >= 0x80) break;
    out[i] = static_cast<char>(c);
  }
  if (i == nUnits) return;
  out.resize(i);
  for (; i < nUnits; ++i) {
    const char16_t c = Get16(p + 2 * i);
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
    } else if (c >= 0xD800 && c <= 0xDBFF) {
      const char16_t d = (i + 1 < nUnits) ? Get16(p + 2 * (i + 1)) : 0;
      if (d >= 0xDC00 && d <= 0xDFFF) {
        AppendUtf8(out, 0x10000 + ((static_cast<char32_t>(c) - 0xD800) << 10) + (d - 0xDC00));
        ++i;
      } else {
        AppendUtf8(out, kReplacement);
      }
    } else if (c >= 0xDC00 && c <= 0xDFFF) {
      AppendUtf8(out, kReplacement);
    } else {
      AppendUtf8(out, c);
    }
  }
}

}  // namespace launchagent::utf16
