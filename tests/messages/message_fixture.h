#pragma once
// What the message tests share: a context with a settable clock and host name, and images
// written and shown as key=value lines.
#include <gtest/gtest.h>

#include <string>

#include "messages/image_text.h"
#include "messages/message_context.h"
#include "messages/property_bag.h"

namespace launchagent {

class MessageTest : public ::testing::Test, public MessageContext {
 public:
  double SecondsSinceMidnight() override {
    ++nClockReads;
    return dSeconds;
  }
  std::string LocalHostName() override { return sHostName; }

  static Bytes ImageOf(const std::string& sLines) {
    Bytes b;
    std::string sError;
    EXPECT_TRUE(image_text::BuildImage(sLines, b, sError)) << sError;
    return b;
  }
  // The image as lines, keys lower-cased; "not an image" when it is none.
  static std::string Show(const Bytes& image) {
    PropertyBag bag;
    return bag.SetContents(image) ? image_text::ShowImage(bag) : "not an image";
  }

  double dSeconds = 36000.25;
  std::string sHostName = "PC7";
  int nClockReads = 0;
};

}  // namespace launchagent
