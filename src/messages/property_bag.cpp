#include "messages/property_bag.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <functional>
#include <utility>

namespace launchagent {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

std::uint16_t Get16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

std::uint32_t Get32(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
         (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

void Put16(std::uint8_t* p, std::uint16_t n) {
  p[0] = static_cast<std::uint8_t>(n & 0xFF);
  p[1] = static_cast<std::uint8_t>(n >> 8);
}

void Put32(std::uint8_t* p, std::uint32_t n) {
  p[0] = static_cast<std::uint8_t>(n & 0xFF);
  p[1] = static_cast<std::uint8_t>((n >> 8) & 0xFF);
  p[2] = static_cast<std::uint8_t>((n >> 16) & 0xFF);
  p[3] = static_cast<std::uint8_t>(n >> 24);
}

// Letter case as the bag sees it: the Latin letters A to Z.
char16_t FoldCase(char16_t c) {
  return (c >= u'A' && c <= u'Z') ? static_cast<char16_t>(c + (u'a' - u'A')) : c;
}

std::uint32_t HashStep(std::uint32_t h, char16_t c) {
  return ((h << 13) | (h >> 19)) ^ static_cast<std::uint32_t>(c);
}

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

// UTF-16LE to UTF-8; an unpaired surrogate becomes U+FFFD.
void Utf16ToUtf8(const std::uint8_t* p, std::size_t nUnits, std::string& out) {
  // ASCII first, written in place; the rest, if any, one code point at a time.
  out.resize(nUnits);
  std::size_t i = 0;
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

template <typename T>
void DigitsOf(T n, std::string& out) {
  char buf[16];
  auto res = std::to_chars(buf, buf + sizeof buf, n);
  out.assign(buf, res.ptr);
}

std::size_t Padded(std::size_t n) { return (n + 3) & ~static_cast<std::size_t>(3); }

}  // namespace

PropertyBag::PropertyBag() { Clear(); }

void PropertyBag::Clear() {
  m_bytes.assign(kHeaderSize, 0);
  Put32(m_bytes.data(), kMagic);
  Put32(m_bytes.data() + 4, static_cast<std::uint32_t>(kHeaderSize));
  m_index.clear();
}

std::uint32_t PropertyBag::NameHash(std::string_view sName) {
  std::uint32_t h = 0;
  ForEachUnit(sName, [&](char16_t c) {
    h = HashStep(h, FoldCase(c));
    return true;
  });
  return h;
}

void PropertyBag::WriteProperty(const std::string& sName, const std::string& sValue) {
  AppendText(sName, sValue);
}

bool PropertyBag::AppendText(std::string_view sName, std::string_view sValue) {
  if (m_index.size() >= kMaxEntries) return false;
  // Sizes are counted before anything is encoded, so an oversized value costs no
  // allocation; the size check also keeps every length within its field.
  const bool bNameAscii = IsAscii(sName);
  const bool bValueAscii = IsAscii(sValue);
  const std::size_t nNameUnits = bNameAscii ? sName.size() : CountUnits(sName);
  if (nNameUnits > kMaxImageSize) return false;
  const std::size_t nValueUnits = bValueAscii ? sValue.size() : CountUnits(sValue);
  if (nValueUnits > kMaxImageSize) return false;
  const std::size_t nSize = Padded(kEntryHeaderSize + 2 * nNameUnits + 4 + 2 * nValueUnits);
  const std::size_t nOffset = m_bytes.size();
  if (nOffset + nSize > kMaxImageSize) return false;

  // The entry that was last now links forward by its own size.
  if (!m_index.empty()) {
    const EntryRef& last = m_index.back();
    Put32(m_bytes.data() + last.nOffset + 8, static_cast<std::uint32_t>(nOffset - last.nOffset));
  } else {
    // A message image takes about a kilobyte: grow once, not entry by entry.
    m_index.reserve(32);
  }
  if (m_bytes.capacity() < nOffset + nSize) {
    m_bytes.reserve(std::max({nOffset + nSize, 2 * m_bytes.capacity(), std::size_t{1024}}));
  }
  m_bytes.resize(nOffset + nSize, 0);
  std::uint8_t* p = m_bytes.data() + nOffset;

  EntryRef ref;
  ref.nOffset = static_cast<std::uint32_t>(nOffset);
  ref.nNameUnits = static_cast<std::uint16_t>(nNameUnits);
  ref.nType = kTypeText;
  ref.nValueUnits = static_cast<std::uint32_t>(nValueUnits);

  // The new bytes are zero, so ASCII text needs only its low bytes written.
  std::uint8_t* q = p + kEntryHeaderSize;
  std::uint32_t h = 0;
  if (bNameAscii) {
    for (std::size_t i = 0; i < nNameUnits; ++i) {
      const char16_t c = FoldCase(static_cast<char16_t>(sName[i]));
      h = HashStep(h, c);
      q[2 * i] = static_cast<std::uint8_t>(c);
    }
    q += 2 * nNameUnits;
  } else {
    ForEachUnit(sName, [&](char16_t c) {
      c = FoldCase(c);
      h = HashStep(h, c);
      Put16(q, c);
      q += 2;
      return true;
    });
  }
  ref.nHash = h;
  Put32(q, static_cast<std::uint32_t>(nValueUnits));
  q += 4;
  ref.nValueOffset = static_cast<std::uint32_t>(q - m_bytes.data());
  if (bValueAscii) {
    for (std::size_t i = 0; i < nValueUnits; ++i) q[2 * i] = static_cast<std::uint8_t>(sValue[i]);
  } else {
    ForEachUnit(sValue, [&](char16_t c) {
      Put16(q, c);
      q += 2;
      return true;
    });
  }

  Put16(p, kTypeText);
  Put16(p + 2, ref.nNameUnits);
  Put32(p + 4, h);
  // The last entry links back to the first.
  Put32(p + 8, static_cast<std::uint32_t>(static_cast<std::int32_t>(kHeaderSize) -
                                          static_cast<std::int32_t>(nOffset)));
  Put32(m_bytes.data() + 4, static_cast<std::uint32_t>(m_bytes.size()));
  m_index.push_back(ref);
  return true;
}

std::optional<std::size_t> PropertyBag::Find(std::string_view sName) const {
  // One pass over the query gives its hash and its folded code units; the scan then
  // compares hash and length, and only a candidate is compared: bytes first (names we
  // wrote are lower-case already), then unit by unit with case folded.
  constexpr std::size_t kShortName = 64;
  std::uint8_t folded[2 * kShortName];
  std::uint32_t h = 0;
  std::size_t nUnits = 0;
  ForEachUnit(sName, [&](char16_t c) {
    c = FoldCase(c);
    h = HashStep(h, c);
    if (nUnits < kShortName) Put16(folded + 2 * nUnits, c);
    ++nUnits;
    return true;
  });
  for (std::size_t k = 0; k < m_index.size(); ++k) {
    const EntryRef& ref = m_index[k];
    if (ref.nHash != h || ref.nNameUnits != nUnits) continue;
    const std::uint8_t* q = m_bytes.data() + ref.nOffset + kEntryHeaderSize;
    bool bSame = true;
    if (nUnits <= kShortName) {
      bSame = std::memcmp(q, folded, 2 * nUnits) == 0;
      if (!bSame) {
        bSame = true;
        for (std::size_t i = 0; i < nUnits && bSame; ++i) {
          bSame = FoldCase(Get16(q + 2 * i)) == Get16(folded + 2 * i);
        }
      }
    } else {
      bSame = ForEachUnit(sName, [&](char16_t c) {
        const bool bEqual = FoldCase(Get16(q)) == FoldCase(c);
        q += 2;
        return bEqual;
      });
    }
    if (bSame) return k;
  }
  return std::nullopt;
}

std::optional<std::size_t> PropertyBag::Find(const Key& key) const {
  if (!key.m_bReady) return Find(key.m_sName);
  const std::size_t nUnits = key.m_sName.size();
  for (std::size_t k = 0; k < m_index.size(); ++k) {
    const EntryRef& ref = m_index[k];
    if (ref.nHash != key.m_nHash || ref.nNameUnits != nUnits) continue;
    // Names we wrote are lower-case already: a byte compare settles them. A stored name
    // with capitals is compared unit by unit.
    const std::uint8_t* q = m_bytes.data() + ref.nOffset + kEntryHeaderSize;
    bool bSame = std::memcmp(q, key.m_folded, 2 * nUnits) == 0;
    if (!bSame) {
      bSame = true;
      for (std::size_t i = 0; i < nUnits && bSame; ++i) {
        bSame = FoldCase(Get16(q + 2 * i)) == key.m_folded[2 * i];
      }
    }
    if (bSame) return k;
  }
  return std::nullopt;
}

std::optional<std::string> PropertyBag::ReadProperty(const std::string& sName) const {
  std::string sValue;
  if (!FindText(sName, sValue)) return std::nullopt;
  return sValue;
}

bool PropertyBag::FindText(const Key& key, std::string& sValue) const {
  const auto k = Find(key);
  if (!k) return false;
  DecodeValue(m_index[*k], sValue);
  return true;
}

bool PropertyBag::FindText(std::string_view sName, std::string& sValue) const {
  const auto k = Find(sName);
  if (!k) return false;
  DecodeValue(m_index[*k], sValue);
  return true;
}

void PropertyBag::DecodeValue(const EntryRef& ref, std::string& sOut) const {
  const std::uint8_t* p = m_bytes.data() + ref.nValueOffset;
  switch (ref.nType) {
    case kTypeInteger:
      DigitsOf(static_cast<std::int16_t>(Get16(p)), sOut);
      break;
    case kTypeLong:
      DigitsOf(static_cast<std::int32_t>(Get32(p)), sOut);
      break;
    case kTypeBoolean:
      sOut = Get16(p) != 0 ? "True" : "False";
      break;
    default:
      Utf16ToUtf8(p, ref.nValueUnits, sOut);
      break;
  }
}

std::string PropertyBag::DecodeName(const EntryRef& ref) const {
  std::string s;
  Utf16ToUtf8(m_bytes.data() + ref.nOffset + kEntryHeaderSize, ref.nNameUnits, s);
  for (char& c : s) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return s;
}

std::vector<PropertyBag::Entry> PropertyBag::Entries() const {
  std::vector<Entry> entries;
  entries.reserve(m_index.size());
  for (const EntryRef& ref : m_index) {
    Entry entry{DecodeName(ref), std::string(), ref.nType};
    DecodeValue(ref, entry.sValue);
    entries.push_back(std::move(entry));
  }
  return entries;
}

bool PropertyBag::SetContents(const Bytes& byteArray) {
  return SetContents(byteArray.data(), byteArray.size());
}

bool PropertyBag::SetContents(const std::uint8_t* pData, std::size_t nSize) {
  if (pData != nullptr && Parse(pData, nSize)) {
    const std::uint8_t* pOwn = m_bytes.data();
    const std::less<const std::uint8_t*> before;
    if (!before(pData, pOwn) && before(pData, pOwn + m_bytes.size())) {
      // Loading from our own image: move the bytes down in place.
      std::copy(pData, pData + nSize, m_bytes.begin());
      m_bytes.resize(nSize);
    } else {
      m_bytes.assign(pData, pData + nSize);
    }
    return true;
  }
  Clear();
  return false;
}

// One pass over the image; every length is checked against what is left of the buffer
// before it is used, so no read leaves the buffer and nothing is allocated from a length.
bool PropertyBag::Parse(const std::uint8_t* pData, std::size_t nSize) {
  m_index.clear();
  if (nSize < kHeaderSize || nSize > kMaxImageSize) return false;
  if (Get32(pData) != kMagic || Get32(pData + 4) != nSize) return false;
  // An entry takes at least 16 bytes: one allocation covers any count.
  m_index.reserve(std::min(kMaxEntries, (nSize - kHeaderSize) / 16));

  std::size_t nOffset = kHeaderSize;
  while (nOffset < nSize) {
    if (m_index.size() >= kMaxEntries) return false;
    if (nSize - nOffset < kEntryHeaderSize) return false;
    const std::uint8_t* p = pData + nOffset;
    EntryRef ref;
    ref.nOffset = static_cast<std::uint32_t>(nOffset);
    ref.nType = Get16(p);
    ref.nNameUnits = Get16(p + 2);
    ref.nHash = Get32(p + 4);
    const auto lngLink = static_cast<std::int32_t>(Get32(p + 8));

    std::size_t nPos = nOffset + kEntryHeaderSize;
    const std::size_t nNameBytes = 2 * static_cast<std::size_t>(ref.nNameUnits);
    if (nSize - nPos < nNameBytes) return false;
    std::uint32_t h = 0;
    for (std::size_t i = 0; i < nNameBytes; i += 2) {
      h = HashStep(h, FoldCase(Get16(pData + nPos + i)));
    }
    if (h != ref.nHash) return false;
    nPos += nNameBytes;

    switch (ref.nType) {
      case kTypeText: {
        if (nSize - nPos < 4) return false;
        const std::uint32_t nUnits = Get32(pData + nPos);
        nPos += 4;
        if (nUnits > (nSize - nPos) / 2) return false;
        ref.nValueUnits = nUnits;
        ref.nValueOffset = static_cast<std::uint32_t>(nPos);
        nPos += 2 * static_cast<std::size_t>(nUnits);
        break;
      }
      case kTypeInteger:
      case kTypeBoolean: {
        if (nSize - nPos < 2) return false;
        if (ref.nType == kTypeBoolean) {
          const std::uint16_t n = Get16(pData + nPos);
          if (n != 0 && n != 0xFFFF) return false;
        }
        ref.nValueOffset = static_cast<std::uint32_t>(nPos);
        nPos += 2;
        break;
      }
      case kTypeLong: {
        if (nSize - nPos < 4) return false;
        ref.nValueOffset = static_cast<std::uint32_t>(nPos);
        nPos += 4;
        break;
      }
      default:
        return false;
    }

    const std::size_t nPadded = Padded(nPos - nOffset);
    if (nSize - nOffset < nPadded) return false;
    for (std::size_t i = nPos; i < nOffset + nPadded; ++i) {
      if (pData[i] != 0) return false;
    }
    const bool bLast = nOffset + nPadded == nSize;
    const std::int32_t lngExpected =
        bLast ? static_cast<std::int32_t>(kHeaderSize) - static_cast<std::int32_t>(nOffset)
              : static_cast<std::int32_t>(nPadded);
    if (lngLink != lngExpected) return false;
    m_index.push_back(ref);
    nOffset += nPadded;
  }
  return true;
}

}  // namespace launchagent
