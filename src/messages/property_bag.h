#pragma once
// The property bag whose serialised bytes are the wire image of every message: an
// ordered list of named values, looked up by name without regard to letter case.
// docs/wire-format.md describes the image byte by byte.
//
// The bag keeps its image itself: WriteProperty appends an encoded entry, SetContents
// checks and takes a whole image, and ReadProperty decodes one value on demand. So
// reading a received image costs one pass of checks and no per-entry allocation.
// The messages' own path is cheaper still: ReadImage checks an image where it lies and
// assigns its entries to the message's fixed keys in the same pass, and WriteImage
// sizes a whole image once from fixed keys.
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/types.h"

namespace launchagent {

class PropertyBag {
 public:
  // Value types an image may hold. The agent writes text only; the others are read
  // because the runtime's bags could carry them, and come back as text.
  enum ValueType : std::uint16_t {
    kTypeInteger = 2,  // i16, read as its decimal digits
    kTypeLong = 3,     // i32, read as its decimal digits
    kTypeText = 8,     // u32 length in UTF-16 code units, then UTF-16LE
    kTypeBoolean = 11  // u16: FFFF "True", 0000 "False"
  };

  static constexpr std::uint32_t kMagic = 0x0000B293;
  static constexpr std::size_t kHeaderSize = 8;
  static constexpr std::size_t kEntryHeaderSize = 12;
  // Anything larger is not an image; writes that would pass these are skipped.
  static constexpr std::size_t kMaxImageSize = 64 * 1024;
  static constexpr std::size_t kMaxEntries = 1024;
  // Fixed keys one ReadImage can assign.
  static constexpr std::size_t kMaxKeys = 24;

  // A fixed key with its hash and its lower-cased UTF-16LE form worked out once (at
  // compile time for constexpr keys), so the messages' lookups skip that per call.
  // Names that are not ASCII or are longer than kMaxUnits are looked up as text.
  class Key {
   public:
    static constexpr std::size_t kMaxUnits = 32;
    constexpr explicit Key(std::string_view sName) : m_sName(sName) {
      m_bReady = sName.size() <= kMaxUnits;
      std::uint32_t h = 0;
      for (std::size_t i = 0; i < sName.size() && m_bReady; ++i) {
        auto c = static_cast<unsigned char>(sName[i]);
        if (c >= 0x80) m_bReady = false;
        if (c >= 'A' && c <= 'Z') c = static_cast<unsigned char>(c + ('a' - 'A'));
        h = ((h << 13) | (h >> 19)) ^ c;
        m_folded[2 * i] = c;
      }
      m_nHash = h;
    }
    constexpr std::string_view Name() const { return m_sName; }

   private:
    friend class PropertyBag;
    std::string_view m_sName;
    std::uint32_t m_nHash = 0;
    bool m_bReady = false;
    std::uint8_t m_folded[2 * kMaxUnits] = {};
  };

  struct Entry {
    std::string sName;  // as stored: lower-cased
    std::string sValue;
    std::uint16_t nType = kTypeText;
  };

  // A text entry under a fixed key, for WriteImage.
  struct TextEntry {
    const Key* pKey;
    std::string_view sValue;
  };

  // An empty bag: its image is the 8-byte header alone.
  PropertyBag();

  // Appends a text entry. The name is stored lower-cased. An entry that would take the
  // image past the size or entry cap is skipped (the bag stays as it was).
  void WriteProperty(const std::string& sName, const std::string& sValue);
  // The first entry of that name, letter case ignored, as text; nullopt when the bag
  // holds no such name.
  std::optional<std::string> ReadProperty(const std::string& sName) const;
  // The same two without temporaries, for the messages' fixed keys. AppendText: false
  // when the entry was skipped. FindText: false when there is no such name (sValue is
  // then left as it was).
  bool AppendText(std::string_view sName, std::string_view sValue);
  bool FindText(std::string_view sName, std::string& sValue) const;
  bool FindText(const Key& key, std::string& sValue) const;

  // The serialised image.
  Bytes Contents() const { return Bytes(Data(), Data() + Size()); }
  const Bytes& ContentsRef() const;
  // Takes a whole image. False when the bytes are not exactly one image; the bag is
  // then empty.
  bool SetContents(const Bytes& byteArray);
  bool SetContents(const std::uint8_t* pData, std::size_t nSize);
  // As SetContents, but the bag reads the bytes where they lie (they must stay as they
  // are while the bag is used), and assigns entries to keys in the same pass: a name
  // that comes in the order of keys costs one byte compare, others a lookup. FindText
  // of one of these keys then costs nothing more. The keys must have distinct names and
  // outlive the bag (static constants); more than kMaxKeys are looked up as usual.
  bool ReadImage(const Bytes& byteArray, std::span<const Key* const> keys);
  // The image of these text entries in turn, sized once: the same bytes as AppendText of
  // each on an empty bag (an entry that would pass a cap is skipped).
  static Bytes WriteImage(std::span<const TextEntry> entries);

  std::size_t Count() const;
  // Entries in image order (for tools that show an image).
  std::vector<Entry> Entries() const;
  void Clear();

  // The name hash of the image: rotate left by 13, then XOR with each UTF-16 code unit
  // of the lower-cased name.
  static std::uint32_t NameHash(std::string_view sName);

 private:
  struct EntryRef {
    std::uint32_t nOffset = 0;       // of the entry header in the image
    std::uint32_t nValueOffset = 0;  // of the value (after a text value's length word)
    std::uint32_t nValueUnits = 0;   // text: UTF-16 code units
    std::uint32_t nHash = 0;
    std::uint16_t nNameUnits = 0;
    std::uint16_t nType = kTypeText;
  };

  // Checks an image and calls onEntry(ref, key position or -1) for each entry.
  template <typename OnEntry>
  static bool Walk(const std::uint8_t* pData, std::size_t nSize, std::span<const Key* const> keys,
                   OnEntry&& onEntry);
  const std::uint8_t* Data() const { return m_pImage ? m_pImage : m_bytes.data(); }
  std::size_t Size() const { return m_pImage ? m_nImageSize : m_bytes.size(); }
  // Bytes read in place become the bag's own (before a write or a reference to them).
  void Own() const;
  void EnsureIndex() const;
  const EntryRef* Find(std::string_view sName) const;
  const EntryRef* Find(const Key& key) const;
  void DecodeValue(const EntryRef& ref, std::string& sOut) const;
  std::string DecodeName(const EntryRef& ref) const;
  bool Parse(const std::uint8_t* pData, std::size_t nSize);

  mutable Bytes m_bytes;
  mutable const std::uint8_t* m_pImage = nullptr;  // bytes read in place, or m_bytes
  std::size_t m_nImageSize = 0;
  mutable std::vector<EntryRef> m_index;
  mutable bool m_bIndexed = true;  // false: m_index is built on first need
  std::span<const Key* const> m_keys;
  std::array<EntryRef, kMaxKeys> m_keyRefs{};  // nOffset 0: no entry of that name
  mutable std::size_t m_nNextKey = 0;          // where the next FindText likely is
};

}  // namespace launchagent
