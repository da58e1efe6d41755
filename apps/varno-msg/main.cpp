// varno-msg: looks at message images and makes them.
//
//   varno-msg show [--hex] FILE|-       the image as key=value lines, in order
//   varno-msg build [FILE|-] -o OUT|-   an image from key=value lines
//
// Exit code 0 on success, 2 on bad usage, bad input or bytes that are not one image.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "messages/image_text.h"
#include "messages/property_bag.h"

namespace {

using launchagent::Bytes;
using launchagent::PropertyBag;

constexpr int kExitBad = 2;
// Text input larger than this cannot make an image within the cap, comments aside.
constexpr std::size_t kMaxTextInput = 16 * 1024 * 1024;

const char kUsage[] =
    "usage:\n"
    "  varno-msg show [--hex] FILE|-       print a message image as key=value lines\n"
    "  varno-msg build [FILE|-] -o OUT|-   build a message image from key=value lines\n"
    "  varno-msg --help\n"
    "\n"
    "show prints one key=value line per entry, in image order; keys appear as stored\n"
    "(lower-cased), control characters in values as \\xNN. --hex adds a hex dump as\n"
    "comment lines, so the output can be fed back to build.\n"
    "build reads key=value lines (default: standard input): the key runs to the first\n"
    "'=', the value is the rest of the line, taken literally (so \"nLocalPort= 1230\"\n"
    "keeps its blank). Empty lines and lines starting with # are skipped.\n"
    "'-' stands for standard input or output. Exit code 2 on any error.\n";

int Fail(const std::string& sText) {
  std::cerr << "varno-msg: " << sText << "\n";
  return kExitBad;
}

// Reads at most nMax + 1 bytes, so an oversized input is seen without reading it all.
bool ReadInput(const std::string& sPath, std::size_t nMax, std::string& sData,
               std::string& sError) {
  std::ifstream file;
  std::istream* pIn = &std::cin;
  if (sPath != "-") {
    file.open(sPath, std::ios::binary);
    if (!file) {
      sError = sPath + ": cannot open";
      return false;
    }
    pIn = &file;
  }
  sData.clear();
  char buf[65536];
  while (sData.size() <= nMax) {
    pIn->read(buf, sizeof buf);
    const auto n = pIn->gcount();
    if (n <= 0) break;
    sData.append(buf, static_cast<std::size_t>(n));
  }
  if (pIn->bad()) {
    sError = (sPath == "-" ? std::string("standard input") : sPath) + ": read error";
    return false;
  }
  return true;
}

int Show(const std::vector<std::string>& args) {
  bool bHex = false;
  std::string sPath;
  for (const auto& arg : args) {
    if (arg == "--hex") {
      bHex = true;
    } else if (sPath.empty() && (arg == "-" || arg.rfind("-", 0) != 0)) {
      sPath = arg;
    } else {
      return Fail("show: unexpected argument '" + arg + "'\n" + kUsage);
    }
  }
  if (sPath.empty()) return Fail(std::string("show: no input named\n") + kUsage);
  std::string sData;
  std::string sError;
  if (!ReadInput(sPath, PropertyBag::kMaxImageSize, sData, sError)) return Fail(sError);
  const Bytes byteImage(sData.begin(), sData.end());
  PropertyBag bag;
  const std::string sName = sPath == "-" ? "standard input" : sPath;
  if (byteImage.size() > PropertyBag::kMaxImageSize) {
    return Fail(sName + ": not a message image (larger than " +
                std::to_string(PropertyBag::kMaxImageSize) + " bytes)");
  }
  if (!bag.SetContents(byteImage)) {
    return Fail(sName + ": not a message image (" + std::to_string(byteImage.size()) + " bytes)");
  }
  std::cout << launchagent::image_text::ShowImage(bag);
  if (bHex) {
    const std::string sDump = launchagent::image_text::HexDump(byteImage);
    std::size_t nStart = 0;
    while (nStart < sDump.size()) {
      const std::size_t nEnd = sDump.find('\n', nStart);
      std::cout << "# " << sDump.substr(nStart, nEnd - nStart) << "\n";
      nStart = nEnd + 1;
    }
  }
  std::cout.flush();
  return std::cout ? 0 : Fail("cannot write standard output");
}

int Build(const std::vector<std::string>& args) {
  std::string sIn;
  std::string sOut;
  bool bHaveIn = false;
  bool bHaveOut = false;
  for (std::size_t k = 0; k < args.size(); ++k) {
    const std::string& arg = args[k];
    if (arg == "-o") {
      if (k + 1 >= args.size()) return Fail(std::string("build: -o needs a file\n") + kUsage);
      if (bHaveOut) return Fail("build: -o given twice");
      sOut = args[++k];
      bHaveOut = true;
    } else if (!bHaveIn && (arg == "-" || arg.rfind("-", 0) != 0)) {
      sIn = arg;
      bHaveIn = true;
    } else {
      return Fail("build: unexpected argument '" + arg + "'\n" + kUsage);
    }
  }
  if (!bHaveOut) return Fail(std::string("build: no output named (-o OUT|-)\n") + kUsage);
  if (!bHaveIn) sIn = "-";
  std::string sText;
  std::string sError;
  if (!ReadInput(sIn, kMaxTextInput, sText, sError)) return Fail(sError);
  if (sText.size() > kMaxTextInput) return Fail(sIn + ": input too large");
  Bytes byteImage;
  if (!launchagent::image_text::BuildImage(sText, byteImage, sError)) {
    return Fail((sIn == "-" ? std::string("standard input") : sIn) + ": " + sError);
  }
  const auto* pData = reinterpret_cast<const char*>(byteImage.data());
  const auto nSize = static_cast<std::streamsize>(byteImage.size());
  if (sOut == "-") {
    std::cout.write(pData, nSize);
    std::cout.flush();
    return std::cout ? 0 : Fail("cannot write standard output");
  }
  std::ofstream file(sOut, std::ios::binary | std::ios::trunc);
  if (!file) return Fail(sOut + ": cannot create");
  file.write(pData, nSize);
  file.close();
  return file ? 0 : Fail(sOut + ": write error");
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  if (args.empty()) return Fail(std::string("no command\n") + kUsage);
  for (const auto& arg : args) {
    if (arg == "--help" || arg == "-h") {
      std::cout << kUsage;
      return 0;
    }
  }
  const std::string sCommand = args.front();
  args.erase(args.begin());
  if (sCommand == "show") return Show(args);
  if (sCommand == "build") return Build(args);
  return Fail("unknown command '" + sCommand + "'\n" + kUsage);
}
