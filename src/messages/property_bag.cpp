#include "messages/property_bag.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>
#include <functional>
#include <utility>

#include "messages/utf16_text.h"

namespace launchagent {
using utf16::CountUnits;
using utf16::ForEachUnit;
using utf16::IsAscii;
using utf16::Utf16ToUtf8;

namespace {

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

// The same hash over a stored name. Rotation distributes over XOR, so each unit adds
// its own rotation by 13 per unit after it: the terms are independent, not a chain.
std::uint32_t StoredNameHash(const std::uint8_t* p, std::size_t nUnits) {
  std::uint32_t h = 0;
  unsigned nRotate = 0;
  for (std::size_t i = nUnits; i-- > 0;) {
    h ^= std::rotl(static_cast<std::uint32_t>(FoldCase(Get16(p + 2 * i))),
                   static_cast<int>(nRotate));
    nRotate = (nRotate + 13) & 31;
  }
  return h;
}

template <typename T>
void DigitsOf(T n, std::string& out) {
  char buf[16];
  auto res = std::to_chars(buf, buf + sizeof buf, n);
  out.assign(buf, res.ptr);
}

constexpr std::uint8_t kEmptyImage[PropertyBag::kHeaderSize] = {0x93, 0xB2, 0, 0, 8, 0, 0, 0};

std::size_t Padded(std::size_t n) { return (n + 3) & ~static_cast<std::size_t>(3); }

}  // namespace

PropertyBag::PropertyBag() { Clear(); }

void PropertyBag::Clear() {
  // An empty bag reads the shared header: making one allocates nothing.
  m_bytes.clear();
  m_pImage = kEmptyImage;
  m_nImageSize = kHeaderSize;
  m_index.clear();
  m_bIndexed = true;
  m_keys = {};
  m_nNextKey = 0;
}

std::size_t PropertyBag::Count() const {
  EnsureIndex();
  return m_index.size();
}

const Bytes& PropertyBag::ContentsRef() const {
  Own();
  return m_bytes;
}

void PropertyBag::Own() const {
  if (!m_pImage) return;
  m_bytes.assign(m_pImage, m_pImage + m_nImageSize);
  m_pImage = nullptr;
}

void PropertyBag::EnsureIndex() const {
  if (m_bIndexed) return;
  m_bIndexed = true;
  m_index.reserve(std::min(kMaxEntries, (Size() - kHeaderSize) / 16));
  Walk(Data(), Size(), {}, [&](const EntryRef& ref, int) { m_index.push_back(ref); });
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
  Own();
  EnsureIndex();
  // The entries appended are found by lookup, not through the keys of a read.
  m_keys = {};
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

const PropertyBag::EntryRef* PropertyBag::Find(std::string_view sName) const {
  // One pass over the query gives its hash and its folded code units; the scan then
  // compares hash and length, and only a candidate is compared: bytes first (names we
  // wrote are lower-case already), then unit by unit with case folded.
  EnsureIndex();
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
  for (const EntryRef& ref : m_index) {
    if (ref.nHash != h || ref.nNameUnits != nUnits) continue;
    const std::uint8_t* q = Data() + ref.nOffset + kEntryHeaderSize;
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
    if (bSame) return &ref;
  }
  return nullptr;
}

namespace {

// A stored name against a ready key: byte equal, or equal with case folded.
bool SameName(const std::uint8_t* q, std::size_t nUnits, const std::uint8_t* folded) {
  if (std::memcmp(q, folded, 2 * nUnits) == 0) return true;
  for (std::size_t i = 0; i < nUnits; ++i) {
    if (FoldCase(Get16(q + 2 * i)) != folded[2 * i]) return false;
  }
  return true;
}

}  // namespace

const PropertyBag::EntryRef* PropertyBag::Find(const Key& key) const {
  if (!key.m_bReady) return Find(key.m_sName);
  // A key of the read was assigned its entry in the read's own pass.
  std::size_t j = m_nNextKey;
  if (j >= m_keys.size() || m_keys[j] != &key) {
    j = 0;
    while (j < m_keys.size() && m_keys[j] != &key) ++j;
  }
  if (j < m_keys.size()) {
    m_nNextKey = j + 1;
    if (m_keyRefs[j].nOffset != 0) return &m_keyRefs[j];
  }
  EnsureIndex();
  const std::size_t nUnits = key.m_sName.size();
  for (const EntryRef& ref : m_index) {
    if (ref.nHash != key.m_nHash || ref.nNameUnits != nUnits) continue;
    if (SameName(Data() + ref.nOffset + kEntryHeaderSize, nUnits, key.m_folded)) return &ref;
  }
  return nullptr;
}

std::optional<std::string> PropertyBag::ReadProperty(const std::string& sName) const {
  std::string sValue;
  if (!FindText(sName, sValue)) return std::nullopt;
  return sValue;
}

bool PropertyBag::FindText(const Key& key, std::string& sValue) const {
  const EntryRef* ref = Find(key);
  if (!ref) return false;
  DecodeValue(*ref, sValue);
  return true;
}

bool PropertyBag::FindText(std::string_view sName, std::string& sValue) const {
  const EntryRef* ref = Find(sName);
  if (!ref) return false;
  DecodeValue(*ref, sValue);
  return true;
}

void PropertyBag::DecodeValue(const EntryRef& ref, std::string& sOut) const {
  const std::uint8_t* p = Data() + ref.nValueOffset;
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
  Utf16ToUtf8(Data() + ref.nOffset + kEntryHeaderSize, ref.nNameUnits, s);
  for (char& c : s) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return s;
}

std::vector<PropertyBag::Entry> PropertyBag::Entries() const {
  EnsureIndex();
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
    if (m_pImage) {
      m_bytes.assign(pData, pData + nSize);
    } else if (!before(pData, pOwn) && before(pData, pOwn + m_bytes.size())) {
      // Loading from our own image: move the bytes down in place.
      std::copy(pData, pData + nSize, m_bytes.begin());
      m_bytes.resize(nSize);
    } else {
      m_bytes.assign(pData, pData + nSize);
    }
    m_pImage = nullptr;
    m_keys = {};
    return true;
  }
  Clear();
  return false;
}

bool PropertyBag::Parse(const std::uint8_t* pData, std::size_t nSize) {
  m_index.clear();
  m_bIndexed = true;
  if (nSize >= kHeaderSize && nSize <= kMaxImageSize) {
    // An entry takes at least 16 bytes: one allocation covers any count.
    m_index.reserve(std::min(kMaxEntries, (nSize - kHeaderSize) / 16));
  }
  return Walk(pData, nSize, {}, [&](const EntryRef& ref, int) { m_index.push_back(ref); });
}

bool PropertyBag::ReadImage(const Bytes& byteArray, std::span<const Key* const> keys) {
  if (keys.size() > kMaxKeys) keys = {};
  m_keyRefs.fill(EntryRef{});
  const bool bImage =
      Walk(byteArray.data(), byteArray.size(), keys, [&](const EntryRef& ref, int nKey) {
        if (nKey >= 0 && m_keyRefs[static_cast<std::size_t>(nKey)].nOffset == 0)
          m_keyRefs[static_cast<std::size_t>(nKey)] = ref;
      });
  if (!bImage) {
    Clear();
    return false;
  }
  m_bytes.clear();
  m_pImage = byteArray.data();
  m_nImageSize = byteArray.size();
  m_index.clear();
  m_bIndexed = false;
  m_keys = keys;
  m_nNextKey = 0;
  return true;
}

// One pass over the image; every length is checked against what is left of the buffer
// before it is used, so no read leaves the buffer and nothing is allocated from a length.
template <typename OnEntry>
bool PropertyBag::Walk(const std::uint8_t* pData, std::size_t nSize,
                       std::span<const Key* const> keys, OnEntry&& onEntry) {
  if (pData == nullptr || nSize < kHeaderSize || nSize > kMaxImageSize) return false;
  if (Get32(pData) != kMagic || Get32(pData + 4) != nSize) return false;

  std::size_t nOffset = kHeaderSize;
  std::size_t nEntries = 0;
  std::size_t nNextKey = 0;  // the key whose name should come next
  while (nOffset < nSize) {
    if (nEntries >= kMaxEntries) return false;
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
    const std::uint8_t* pName = pData + nPos;
    int nKey = -1;
    // The expected name, byte for byte, is its own folded form: its hash is the key's.
    if (nNextKey < keys.size()) {
      const Key& key = *keys[nNextKey];
      if (key.m_bReady && key.m_sName.size() == ref.nNameUnits &&
          std::memcmp(pName, key.m_folded, nNameBytes) == 0) {
        if (key.m_nHash != ref.nHash) return false;
        nKey = static_cast<int>(nNextKey);
      }
    }
    if (nKey < 0) {
      const std::uint32_t h = StoredNameHash(pName, ref.nNameUnits);
      if (h != ref.nHash) return false;
      for (std::size_t j = 0; j < keys.size() && nKey < 0; ++j) {
        const Key& key = *keys[j];
        if (key.m_bReady && key.m_nHash == h && key.m_sName.size() == ref.nNameUnits &&
            SameName(pName, ref.nNameUnits, key.m_folded))
          nKey = static_cast<int>(j);
      }
    }
    if (nKey >= 0) nNextKey = static_cast<std::size_t>(nKey) + 1;
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
    onEntry(ref, nKey);
    ++nEntries;
    nOffset += nPadded;
  }
  return true;
}

Bytes PropertyBag::WriteImage(std::span<const TextEntry> entries) {
  struct Sized {
    const TextEntry* pEntry;
    std::size_t nValueUnits;
    bool bAscii;
  };
  // Sizes first, with AppendText's caps; a key that is not ready goes the long way.
  std::array<Sized, kMaxKeys> sized;
  std::size_t nCount = 0;
  std::size_t nTotal = kHeaderSize;
  for (const TextEntry& entry : entries) {
    if (!entry.pKey->m_bReady || nCount == sized.size()) {
      PropertyBag bag;
      for (const TextEntry& e : entries) bag.AppendText(e.pKey->m_sName, e.sValue);
      return bag.Contents();
    }
    const bool bAscii = IsAscii(entry.sValue);
    const std::size_t nValueUnits = bAscii ? entry.sValue.size() : CountUnits(entry.sValue);
    if (nValueUnits > kMaxImageSize) continue;
    const std::size_t nSize =
        Padded(kEntryHeaderSize + 2 * entry.pKey->m_sName.size() + 4 + 2 * nValueUnits);
    if (nTotal + nSize > kMaxImageSize) continue;
    sized[nCount++] = Sized{&entry, nValueUnits, bAscii};
    nTotal += nSize;
  }

  Bytes image(nTotal, 0);
  std::uint8_t* base = image.data();
  Put32(base, kMagic);
  Put32(base + 4, static_cast<std::uint32_t>(nTotal));
  std::size_t nOffset = kHeaderSize;
  for (std::size_t k = 0; k < nCount; ++k) {
    const Key& key = *sized[k].pEntry->pKey;
    const std::string_view sValue = sized[k].pEntry->sValue;
    const std::size_t nNameUnits = key.m_sName.size();
    const std::size_t nValueUnits = sized[k].nValueUnits;
    const std::size_t nSize = Padded(kEntryHeaderSize + 2 * nNameUnits + 4 + 2 * nValueUnits);
    std::uint8_t* p = base + nOffset;
    Put16(p, kTypeText);
    Put16(p + 2, static_cast<std::uint16_t>(nNameUnits));
    Put32(p + 4, key.m_nHash);
    // Each entry links forward by its size; the last links back to the first.
    const bool bLast = k + 1 == nCount;
    Put32(p + 8, bLast ? static_cast<std::uint32_t>(static_cast<std::int32_t>(kHeaderSize) -
                                                    static_cast<std::int32_t>(nOffset))
                       : static_cast<std::uint32_t>(nSize));
    std::uint8_t* q = p + kEntryHeaderSize;
    std::memcpy(q, key.m_folded, 2 * nNameUnits);
    q += 2 * nNameUnits;
    Put32(q, static_cast<std::uint32_t>(nValueUnits));
    q += 4;
    if (sized[k].bAscii) {
      // The image is zero: ASCII needs only its low bytes written.
      for (std::size_t i = 0; i < nValueUnits; ++i) q[2 * i] = static_cast<std::uint8_t>(sValue[i]);
    } else {
      ForEachUnit(sValue, [&](char16_t c) {
        Put16(q, c);
        q += 2;
        return true;
      });
    }
    nOffset += nSize;
  }
  return image;
}

}  // namespace launchagent
