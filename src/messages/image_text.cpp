#include "messages/image_text.h"

namespace launchagent::image_text {
namespace {

void AppendHexByte(std::string& s, unsigned n) {
  static constexpr char kDigits[] = "0123456789abcdef";
  s.push_back(kDigits[(n >> 4) & 0xF]);
  s.push_back(kDigits[n & 0xF]);
}

// Control characters as \xNN, so the text stays on its line; bQuoted doubles quotes.
void AppendShown(std::string& sOut, const std::string& sValue, bool bQuoted) {
  for (const char c : sValue) {
    const auto u = static_cast<unsigned char>(c);
    if (u < 0x20 || u == 0x7F) {
      sOut += "\\x";
      AppendHexByte(sOut, u);
    } else {
      if (bQuoted && c == '"') sOut += '"';
      sOut += c;
    }
  }
}

}  // namespace

bool BuildImage(const std::string& sText, Bytes& byteImage, std::string& sError) {
  PropertyBag bag;
  std::size_t nStart = 0;
  int nLine = 0;
  while (nStart < sText.size()) {
    std::size_t nEnd = sText.find('\n', nStart);
    if (nEnd == std::string::npos) nEnd = sText.size();
    std::string sLine = sText.substr(nStart, nEnd - nStart);
    nStart = nEnd + 1;
    ++nLine;
    if (!sLine.empty() && sLine.back() == '\r') sLine.pop_back();
    if (sLine.empty() || sLine[0] == '#') continue;
    const std::size_t nEq = sLine.find('=');
    if (nEq == std::string::npos) {
      sError = "line " + std::to_string(nLine) + ": no '=' (expected key=value)";
      return false;
    }
    if (nEq == 0) {
      sError = "line " + std::to_string(nLine) + ": empty key";
      return false;
    }
    if (!bag.AppendText(std::string_view(sLine).substr(0, nEq),
                        std::string_view(sLine).substr(nEq + 1))) {
      sError = "line " + std::to_string(nLine) + ": the image would pass " +
               std::to_string(PropertyBag::kMaxImageSize) + " bytes or " +
               std::to_string(PropertyBag::kMaxEntries) + " entries";
      return false;
    }
  }
  byteImage = bag.Contents();
  return true;
}

std::string ShowImage(const PropertyBag& bag) {
  std::string sOut;
  for (const auto& entry : bag.Entries()) {
    sOut += entry.sName;
    sOut += '=';
    AppendShown(sOut, entry.sValue, false);
    sOut += '\n';
  }
  return sOut;
}

std::string ShowImageLine(const PropertyBag& bag) {
  std::string sOut;
  for (const auto& entry : bag.Entries()) {
    if (!sOut.empty()) sOut += ' ';
    sOut += entry.sName;
    sOut += "=\"";
    AppendShown(sOut, entry.sValue, true);
    sOut += '"';
  }
  return sOut;
}

std::string HexDump(const Bytes& byteImage) {
  std::string sOut;
  for (std::size_t nRow = 0; nRow < byteImage.size(); nRow += 16) {
    for (int nShift = 24; nShift >= 0; nShift -= 8) {
      AppendHexByte(sOut, static_cast<unsigned>((nRow >> nShift) & 0xFF));
    }
    sOut += ' ';
    std::string sChars;
    for (std::size_t k = 0; k < 16; ++k) {
      if (k == 8) sOut += ' ';
      if (nRow + k < byteImage.size()) {
        const unsigned u = byteImage[nRow + k];
        sOut += ' ';
        AppendHexByte(sOut, u);
        sChars += (u >= 0x20 && u < 0x7F) ? static_cast<char>(u) : '.';
      } else {
        sOut += "   ";
      }
    }
    sOut += "  |" + sChars + "|\n";
  }
  return sOut;
}

}  // namespace launchagent::image_text
