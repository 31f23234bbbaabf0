// Tests of the host's JSON tree as the module composes and reads it.
#include "host/bridge/jni_json.h"

#include <gtest/gtest.h>

namespace {

TEST(JniJsonObject, PutKeepsFirstOrderAndTypes) {
  JNIJSONObject obj;
  EXPECT_TRUE(obj.isGood());
  EXPECT_EQ(obj.toString(), "{}");
  obj.put("zeta", 1);
  obj.put("alpha", std::int64_t{5000000000});
  obj.put("mid", 0.25);
  obj.put("flag", false);
  obj.put("text", "asbf"); // a literal must stay text, not turn into a bool
  obj.put("str", std::string("x\"y"));
  obj.putNull("none");
  obj.put("zeta", 2); // replaced where it stands
  EXPECT_EQ(obj.toString(),
            "{\"zeta\":2,\"alpha\":5000000000,\"mid\":0.25,\"flag\":false,\"text\":\"asbf\","
            "\"str\":\"x\\\"y\",\"none\":null}");

  JNIJSONArray inner;
  inner.add("a");
  inner.add(3);
  inner.add(1.5);
  JNIJSONObject child;
  child.put("k", true);
  inner.add(child);
  JNIJSONObject outer;
  outer.put("list", inner);
  outer.put("obj", child);
  EXPECT_EQ(outer.toString(), "{\"list\":[\"a\",3,1.5,{\"k\":true}],\"obj\":{\"k\":true}}");
}

TEST(JniJsonObject, ReadsThroughHandles) {
  JNIJSONObject doc(R"({"b":{"n":7,"d":2.5,"s":"hi","whole":3.0},"a":[1,[2,3]],"t":true})");
  ASSERT_TRUE(doc.isGood());
  JNIJSONHandle top = doc.getTop();
  EXPECT_EQ(JNIAslAccessor::getObject(doc), top);
  EXPECT_EQ(JNIJSONObject::keySet(top), (std::set<std::string>{"a", "b", "t"}));
  JNIJSONHandle b = JNIJSONObject::get(top, "b");
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(JNIJSONObject::get(top, "missing"), nullptr);
  EXPECT_EQ(JNIJSONObject::get(nullptr, "b"), nullptr);
  EXPECT_EQ(JNIJSONInteger::intValue(JNIJSONObject::get(b, "n")), 7);
  EXPECT_EQ(JNIJSONInteger::intValue(JNIJSONObject::get(b, "whole")), 3);
  EXPECT_EQ(JNIJSONInteger::intValue(JNIJSONObject::get(b, "d")), 0); // not integral
  EXPECT_EQ(JNIJSONInteger::intValue(JNIJSONObject::get(b, "s")), 0); // not a number
  EXPECT_DOUBLE_EQ(JNIJSONDouble::doubleValue(JNIJSONObject::get(b, "d")), 2.5);
  EXPECT_DOUBLE_EQ(JNIJSONDouble::doubleValue(JNIJSONObject::get(b, "n")), 7.0);
  EXPECT_DOUBLE_EQ(JNIJSONDouble::doubleValue(nullptr), 0.0);
  EXPECT_EQ(JNIJSONObject::getChildAsString(b, "s"), "hi");
  EXPECT_EQ(JNIJSONObject::getChildAsString(b, "n"), "7");
  EXPECT_EQ(JNIJSONObject::getChildAsString(top, "t"), "true");
  EXPECT_EQ(JNIJSONObject::getChildAsString(top, "nothing"), "");
  EXPECT_TRUE(JNIJSONArtifact::isString(JNIJSONObject::get(b, "s")));
  EXPECT_FALSE(JNIJSONArtifact::isString(JNIJSONObject::get(b, "n")));
  EXPECT_EQ(JNIAslAccessor::getString(JNIJSONObject::get(b, "s")), "hi");

  JNIJSONHandle a = JNIJSONObject::get(top, "a");
  EXPECT_EQ(JNIJSONArray::size(a), 2u);
  EXPECT_EQ(JNIJSONArray::size(b), 0u); // an object is no array
  EXPECT_EQ(JNIJSONInteger::longValue(JNIJSONArray::get(a, 0)), 1);
  EXPECT_EQ(JNIJSONArray::get(a, 2), nullptr);
  EXPECT_EQ(JNIJSONObject::toString(JNIJSONArray::get(a, 1)), "[2,3]");
  EXPECT_TRUE(JNIJSONObject::keySet(a).empty());
}

TEST(JniJsonObject, BadTextIsReportedNotThrown) {
  for (const char* text : {"", "{", "[1,2]", "\"s\"", "{\"a\":}"}) {
    JNIJSONObject obj(text);
    EXPECT_FALSE(obj.isGood()) << text;
    obj.put("k", 1); // still usable, starting empty
    EXPECT_EQ(obj.toString(), "{\"k\":1}") << text;
  }
  JNIJSONArray bad("{\"a\":1}");
  EXPECT_FALSE(bad.isGood());
  EXPECT_EQ(bad.serialize(), "[]");
  JNIJSONArray good("[1,\"x\"]");
  EXPECT_TRUE(good.isGood());
  EXPECT_EQ(good.size(), 2u);

  // A byte that is not UTF-8 must not abort a whole script's composition.
  JNIJSONObject odd;
  odd.put("name", std::string("a\xff"
                              "b"));
  EXPECT_EQ(odd.toString(), "{\"name\":\"a\xEF\xBF\xBD"
                            "b\"}");
}

} // namespace
