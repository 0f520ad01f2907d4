#include "tools/input/image_size.h"

#include <gtest/gtest.h>

namespace norv::tools {
namespace {

TEST(ImageSize, IsReadWithAnyCross) {
  for (const char* text : {"640x480", "640X480",
                           "640\xc3\x97"
                           "480"}) {
    const auto size = parseImageSize(text);
    ASSERT_TRUE(size) << text;
    EXPECT_EQ(size->width, 640);
    EXPECT_EQ(size->height, 480);
  }
}

TEST(ImageSize, SidesAreBounded) {
  EXPECT_TRUE(parseImageSize("1x65535"));
  EXPECT_TRUE(parseImageSize("65535x1"));
  for (const char* text :
       {"65536x1", "1x65536", "99999x99999", "99999999999x1", "0x480", "640x0"}) {
    EXPECT_FALSE(parseImageSize(text)) << text;
  }
}

TEST(ImageSize, WhatIsNone) {
  for (const char* text : {"", "x", "640", "640x", "x480", "640x480x2", "-1x2", "1x-2", " 1x2",
                           "1x2 ", "1 x2", "+1x2", "1.5x2", "1\xc3", "1,2", "axb"}) {
    EXPECT_FALSE(parseImageSize(text)) << text;
  }
}

}  // namespace
}  // namespace norv::tools
