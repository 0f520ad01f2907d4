#include "interop/syntax/json_comments.h"

#include <gtest/gtest.h>

namespace norv::interop {
namespace {

TEST(JsonComments, AreBlanksAfterwards) {
  EXPECT_EQ(withoutJsonComments("{\n  \"a\": 1\n  // b: \"c\n  ,\r\n\"d\": 2//e\r\n}"),
            "{\n  \"a\": 1\n          \n  ,\r\n\"d\": 2   \r\n}");
  EXPECT_EQ(withoutJsonComments("{/* 1\n2 *//**/\"a\": /1/}"), "{    \n        \"a\": /1/}");
  EXPECT_EQ(withoutJsonComments("{}//"), "{}  ");
}

TEST(JsonComments, AreNoneInStrings) {
  for (const char* const text : {"{\"a\": \"//b\"}", "{\"/*\": \"*/\"}", "{\"a\\\"//\": 1}",
                                 "{\"\\\\\": \"/**/\"}", "\"// without an end", "\"\\"}) {
    EXPECT_EQ(withoutJsonComments(text), text);
  }
  EXPECT_EQ(withoutJsonComments("\"\\\\\"//"), "\"\\\\\"  ");
}

TEST(JsonComments, StayWithoutAnEnd) {
  for (const char* const text : {"", "/", "{} /*", "{} /*/", "/ /"}) {
    EXPECT_EQ(withoutJsonComments(text), text);
  }
}

}  // namespace
}  // namespace norv::interop
