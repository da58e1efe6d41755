#pragma once
// Message images as key=value lines, for operators looking at the wire and for tests
// that need hand-made images (varno-msg uses these).
#include <string>

#include "messages/property_bag.h"
#include "platform/types.h"

namespace launchagent::image_text {

// Builds an image from key=value lines: the key runs to the first "=", the value is the
// rest of the line, taken literally (a leading blank stays). Empty lines and lines
// starting with "#" are skipped; a line ending in CR LF loses the CR. False, with a
// message naming the line, for a line without "=", an empty key, or an image that would
// pass the size or entry cap.
bool BuildImage(const std::string& sText, Bytes& byteImage, std::string& sError);

// One "key=value" line per entry, in image order. Keys appear as stored (lower-cased).
// Control characters in values are shown as \xNN so the lines stay lines.
std::string ShowImage(const PropertyBag& bag);

// The whole image on one line: name="value" per entry, blank-separated, in image order.
// A quote in a value is doubled; control characters are shown as \xNN.
std::string ShowImageLine(const PropertyBag& bag);

// Offset, sixteen bytes in hex and their printable characters per line.
std::string HexDump(const Bytes& byteImage);

}  // namespace launchagent::image_text
