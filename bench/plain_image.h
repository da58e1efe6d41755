#pragma once
// A plain codec of the host information image, written for the benchmarks as the
// figure the bag's own reader and writer are held against: it knows the seventeen
// names, their order and their hashes in advance, checks every rule of the image a
// strict reader checks, and handles ASCII text only.
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace plain_image {

inline constexpr std::size_t kFields = 17;
inline constexpr std::array<std::string_view, kFields> kNames = {"msgtype",
                                                                 "sreturnaddress",
                                                                 "sglmsgid",
                                                                 "sglmsgreferenceid",
                                                                 "shostname",
                                                                 "susername",
                                                                 "bindexing",
                                                                 "sapppath",
                                                                 "sipaddress",
                                                                 "nlocalport",
                                                                 "bprovidehostservices",
                                                                 "bprovideintranet",
                                                                 "bprovideweb",
                                                                 "bprovidenews",
                                                                 "bprovidestocks",
                                                                 "bprovidejobs",
                                                                 "binternetready"};

inline std::uint32_t Hash(std::string_view s) {
  std::uint32_t h = 0;
  for (unsigned char c : s) h = ((h << 13) | (h >> 19)) ^ c;
  return h;
}

inline std::uint32_t Get32(const std::uint8_t* p) {
  std::uint32_t n;
  std::memcpy(&n, p, 4);
  return n;
}

inline void Put32(std::uint8_t* p, std::uint32_t n) { std::memcpy(p, &n, 4); }

inline std::size_t Padded(std::size_t n) { return (n + 3) & ~std::size_t{3}; }

// Reads the seventeen values in their order; false on any broken rule or another name.
inline bool Decode(const std::vector<std::uint8_t>& image, std::array<std::string, kFields>& out) {
  static const auto hashes = [] {
    std::array<std::uint32_t, kFields> h{};
    for (std::size_t k = 0; k < kFields; ++k) h[k] = Hash(kNames[k]);
    return h;
  }();
  const std::uint8_t* p = image.data();
  const std::size_t n = image.size();
  if (n < 8 || Get32(p) != 0xB293 || Get32(p + 4) != n) return false;
  std::size_t at = 8;
  for (std::size_t k = 0; k < kFields; ++k) {
    const std::string_view sName = kNames[k];
    const std::size_t nHead = 12 + 2 * sName.size() + 4;
    if (n - at < nHead) return false;
    const std::uint8_t* e = p + at;
    if (e[0] != 8 || e[1] != 0 || e[2] != sName.size() || e[3] != 0) return false;
    if (Get32(e + 4) != hashes[k]) return false;
    for (std::size_t i = 0; i < sName.size(); ++i)
      if (e[12 + 2 * i] != static_cast<std::uint8_t>(sName[i]) || e[13 + 2 * i] != 0) return false;
    const std::uint32_t nUnits = Get32(e + nHead - 4);
    if (nUnits > (n - at - nHead) / 2) return false;
    const std::size_t nSize = Padded(nHead + 2 * nUnits);
    if (n - at < nSize) return false;
    for (std::size_t i = nHead + 2 * nUnits; i < nSize; ++i)
      if (e[i] != 0) return false;
    const bool bLast = k + 1 == kFields;
    const auto lngLink = static_cast<std::int32_t>(Get32(e + 8));
    if (lngLink != (bLast ? 8 - static_cast<std::int32_t>(at) : static_cast<std::int32_t>(nSize)))
      return false;
    std::string& s = out[k];
    s.resize(nUnits);
    const std::uint8_t* v = e + nHead;
    for (std::size_t i = 0; i < nUnits; ++i) {
      if (v[2 * i + 1] != 0 || v[2 * i] >= 0x80) return false;
      s[i] = static_cast<char>(v[2 * i]);
    }
    at += nSize;
  }
  return at == n;
}

// The message type of any image of text entries, as a strict reader tells it: every
// entry checked (its name against its stored hash, unit by unit, since the names of an
// unknown type are not known in advance), the digits under "msgtype" read; 0 when the
// image breaks a rule or holds no type.
inline long MsgType(const std::vector<std::uint8_t>& image) {
  const std::uint8_t* p = image.data();
  const std::size_t n = image.size();
  if (n < 8 || Get32(p) != 0xB293 || Get32(p + 4) != n) return 0;
  long lngType = -1;
  std::size_t at = 8;
  while (at < n) {
    if (n - at < 16) return 0;
    const std::uint8_t* e = p + at;
    if (e[0] != 8 || e[1] != 0) return 0;
    const std::size_t nName = e[2] | (e[3] << 8);
    const std::size_t nHead = 12 + 2 * nName + 4;
    if (n - at < nHead) return 0;
    std::uint32_t h = 0;
    for (std::size_t i = 0; i < nName; ++i) {
      std::uint32_t c = e[12 + 2 * i] | (e[13 + 2 * i] << 8);
      if (c >= 'A' && c <= 'Z') c += 'a' - 'A';
      h = ((h << 13) | (h >> 19)) ^ c;
    }
    if (h != Get32(e + 4)) return 0;
    const std::uint32_t nUnits = Get32(e + nHead - 4);
    if (nUnits > (n - at - nHead) / 2) return 0;
    const std::size_t nSize = Padded(nHead + 2 * nUnits);
    if (n - at < nSize) return 0;
    for (std::size_t i = nHead + 2 * nUnits; i < nSize; ++i)
      if (e[i] != 0) return 0;
    const auto lngLink = static_cast<std::int32_t>(Get32(e + 8));
    const bool bLast = at + nSize == n;
    if (lngLink != (bLast ? 8 - static_cast<std::int32_t>(at) : static_cast<std::int32_t>(nSize)))
      return 0;
    if (lngType < 0 && nName == 7 && h == Hash("msgtype")) {
      lngType = 0;
      for (std::size_t i = 0; i < nUnits; ++i) {
        const std::uint8_t c = e[nHead + 2 * i];
        if (c < '0' || c > '9' || e[nHead + 2 * i + 1] != 0) return 0;
        lngType = lngType * 10 + (c - '0');
      }
    }
    at += nSize;
  }
  return lngType < 0 ? 0 : lngType;
}

inline std::vector<std::uint8_t> Encode(const std::array<std::string_view, kFields>& values) {
  static const auto hashes = [] {
    std::array<std::uint32_t, kFields> h{};
    for (std::size_t k = 0; k < kFields; ++k) h[k] = Hash(kNames[k]);
    return h;
  }();
  std::size_t n = 8;
  for (std::size_t k = 0; k < kFields; ++k)
    n += Padded(12 + 2 * kNames[k].size() + 4 + 2 * values[k].size());
  std::vector<std::uint8_t> image(n, 0);
  std::uint8_t* p = image.data();
  Put32(p, 0xB293);
  Put32(p + 4, static_cast<std::uint32_t>(n));
  std::size_t at = 8;
  for (std::size_t k = 0; k < kFields; ++k) {
    const std::string_view sName = kNames[k], sValue = values[k];
    std::uint8_t* e = p + at;
    const std::size_t nSize = Padded(12 + 2 * sName.size() + 4 + 2 * sValue.size());
    e[0] = 8;
    e[2] = static_cast<std::uint8_t>(sName.size());
    Put32(e + 4, hashes[k]);
    Put32(e + 8, k + 1 == kFields ? static_cast<std::uint32_t>(8 - static_cast<std::int32_t>(at))
                                  : static_cast<std::uint32_t>(nSize));
    for (std::size_t i = 0; i < sName.size(); ++i)
      e[12 + 2 * i] = static_cast<std::uint8_t>(sName[i]);
    std::uint8_t* v = e + 12 + 2 * sName.size();
    Put32(v, static_cast<std::uint32_t>(sValue.size()));
    for (std::size_t i = 0; i < sValue.size(); ++i)
      v[4 + 2 * i] = static_cast<std::uint8_t>(sValue[i]);
    at += nSize;
  }
  return image;
}

}  // namespace plain_image
