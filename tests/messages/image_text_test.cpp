#include "messages/image_text.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace launchagent::image_text {
namespace {

TEST(ImageTextTest, BuildsFromKeyValueLinesAndShowsThem) {
  Bytes image;
  std::string sError;
  ASSERT_TRUE(BuildImage(
      "# a host\r\nMsgType=4\r\n\nnLocalPort= 1230\nsAppPath=a=b\nsUserName=", image, sError))
      << sError;
  PropertyBag bag;
  ASSERT_TRUE(bag.SetContents(image));
  EXPECT_EQ(ShowImage(bag), "msgtype=4\nnlocalport= 1230\nsapppath=a=b\nsusername=\n");
  ASSERT_TRUE(BuildImage("# nothing\n", image, sError));
  EXPECT_EQ(image, PropertyBag().Contents());
  bag.Clear();
  bag.WriteProperty("v", "a\nb\x7F\\c");  // control characters are escaped
  EXPECT_EQ(ShowImage(bag), "v=a\\x0ab\\x7f\\c\n");
  // The one-line form, with quotes, is scenario msg-image-line's.
}

TEST(ImageTextTest, BadLinesNameTheirLine) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"MsgType=4\nno equals sign\n", "line 2: no '=' (expected key=value)"},
      {"=4\n", "line 1: empty key"},
      {"a=" + std::string(70000, 'x') + "\n",
       "line 1: the image would pass 65536 bytes or 1024 entries"},
  };
  for (const auto& [sText, sExpected] : cases) {
    Bytes image = {1};
    std::string sError;
    EXPECT_FALSE(BuildImage(sText, image, sError));
    EXPECT_EQ(sError, sExpected);
    EXPECT_EQ(image, Bytes{1});
  }
}

TEST(ImageTextTest, HexDump) {
  const Bytes image = {0x93, 0xB2, 0x00, 0x00, 0x08, 0x00, 0x00, 0x00, 0x41,
                       0x42, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x7E};
  EXPECT_EQ(HexDump(image),
            "00000000  93 b2 00 00 08 00 00 00  41 42 43 44 45 46 47 48  |........ABCDEFGH|\n"
            "00000010  7e                                                |~|\n");
  EXPECT_EQ(HexDump(Bytes()), "");
}

}  // namespace
}  // namespace launchagent::image_text
