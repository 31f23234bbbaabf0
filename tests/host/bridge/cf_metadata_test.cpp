// Tests of the data description: typed values and their texts, fields and their categories, the
// field list, and its XML form read, written and read back.
#include "host/bridge/cf_metadata.h"

#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/xml_util.h"

namespace {

using ::testing::HasSubstr;

constexpr double kSysMis = std::numeric_limits<double>::lowest();

// A model with every storage, labels, a coded field with its base field, and a system-missing
// real among the categories.
CFMetaData SampleModel() {
  CFMetaData model;
  CFField region("region", CFStorage::kString);
  region.SetMeasurement("nominal");
  region.SetRole("input");
  region.SetFormat("A12");
  EXPECT_TRUE(
      region.AddValue(CFValue(CFDatum::String("East"), 0, "Eastern <stores> & \"depots\"")));
  EXPECT_TRUE(region.AddValue(CFValue(CFDatum::String(" West \n2"), 1, "line one\nline two\ttab")));
  EXPECT_TRUE(region.AddValue(CFValue(CFDatum::String(""), 2)));
  CFField coded("region_coded", CFStorage::kInteger);
  coded.SetBaseField("region");
  EXPECT_TRUE(coded.AddValue(CFValue(CFDatum::Integer(-2147483647 - 1), 7, "East")));
  EXPECT_TRUE(coded.AddValue(CFValue(CFDatum::Integer(2147483647), -3, "West")));
  CFField price("price", CFStorage::kReal);
  price.SetMeasurement("continuous");
  for (double value : {0.1, 1.0, 1e21, 5e-324, kSysMis}) {
    const auto code = static_cast<std::int32_t>(price.GetValues().size());
    EXPECT_TRUE(price.AddValue(CFValue(CFDatum::Real(value), code)));
  }
  EXPECT_TRUE(model.AddField(region));
  EXPECT_TRUE(model.AddField(coded));
  EXPECT_TRUE(model.AddField(price));
  EXPECT_TRUE(model.AddField(CFField("no categories", CFStorage::kReal)));
  return model;
}

TEST(CFDatum, TextsOfEveryKind) {
  std::string text = "untouched";
  EXPECT_FALSE(CFDatum().ToString(text));
  EXPECT_TRUE(CFDatum().IsMissing());
  EXPECT_EQ(text, "untouched");

  EXPECT_TRUE(CFDatum::Integer(-42).ToString(text));
  EXPECT_EQ(text, "-42");

  // Reals in their shortest exact form.
  const std::pair<double, const char*> reals[] = {{1.0, "1"},   {0.25, "0.25"}, {-3.5, "-3.5"},
                                                  {0.1, "0.1"}, {-0.0, "0"},    {1e-7, "1e-7"}};
  for (const auto& [value, expected] : reals) {
    ASSERT_TRUE(CFDatum::Real(value).ToString(text)) << expected;
    EXPECT_EQ(text, expected);
  }

  // System-missing and the non-finite values have no text.
  text = "untouched";
  for (double value : {kSysMis, std::nan(""), std::numeric_limits<double>::infinity()}) {
    EXPECT_FALSE(CFDatum::Real(value).ToString(text)) << value;
  }
  EXPECT_EQ(text, "untouched");

  EXPECT_TRUE(CFDatum::String("Mixed Case ").ToString(text));
  EXPECT_EQ(text, "Mixed Case ");
}

TEST(CFField, CategoriesMatchTheStorageAndAreUnique) {
  CFField store("store", CFStorage::kInteger);
  EXPECT_TRUE(store.AddValue(CFValue(CFDatum::Integer(1), 10, "one")));
  EXPECT_FALSE(store.AddValue(CFValue(CFDatum::Real(2.0), 11)));   // wrong kind
  EXPECT_FALSE(store.AddValue(CFValue(CFDatum::String("2"), 11))); // wrong kind
  EXPECT_FALSE(store.AddValue(CFValue(CFDatum(), 11)));            // missing
  EXPECT_FALSE(store.AddValue(CFValue(CFDatum::Integer(1), 11)));  // value taken
  EXPECT_FALSE(store.AddValue(CFValue(CFDatum::Integer(2), 10)));  // code taken
  EXPECT_TRUE(store.AddValue(CFValue(CFDatum::Integer(2), 11, "two")));
  ASSERT_EQ(store.GetValues().size(), 2u);

  // A storage code that is neither integer nor string is real.
  EXPECT_EQ(CFField("x", 7).GetStorage(), CFStorage::kReal);
  EXPECT_EQ(CFField("x", CFStorage::kString).GetStorage(), CFStorage::kString);
}

TEST(CFMetaData, FieldLookup) {
  CFMetaData model = SampleModel();
  EXPECT_EQ(model.FieldCount(), 4u);
  EXPECT_EQ(model.GetFieldIndex("price"), 2u);
  EXPECT_EQ(model.GetField(2)->GetName(), "price");
  // Unknown names, other case included, answer the unsigned maximum.
  EXPECT_EQ(model.GetFieldIndex("ghost"), std::numeric_limits<std::size_t>::max());
  EXPECT_EQ(model.GetFieldIndex("PRICE"), CFMetaData::kNoField);
  EXPECT_EQ(model.GetField(CFMetaData::kNoField), nullptr);
  EXPECT_EQ(model.GetField(4), nullptr);
  ASSERT_NE(model.FindField("region_coded"), nullptr);
  EXPECT_EQ(model.FindField("region_coded")->GetBaseField(), "region");

  EXPECT_FALSE(model.AddField(CFField("price", CFStorage::kInteger)));
  EXPECT_FALSE(model.AddField(CFField("", CFStorage::kInteger)));
  EXPECT_EQ(model.FieldCount(), 4u);
}

TEST(CFMetaData, XmlRoundTrip) {
  const CFMetaData model = SampleModel();
  std::string text;
  ASSERT_TRUE(model.ExportXMLDoc(text));

  support::Error error;
  const CFMetaData back(text, &error);
  EXPECT_EQ(error.message, "");
  EXPECT_EQ(back, model) << text;

  // The written form is the documented one.
  support::Result<pugi::xml_document> document = support::ParseXml(text);
  ASSERT_TRUE(document.ok()) << document.message();
  const auto fields = support::FindElements(*document, "DataModel/Field");
  ASSERT_EQ(fields.size(), 4u);
  EXPECT_EQ(support::Attribute(fields[0], "storage"), "string");
  EXPECT_EQ(support::Attribute(fields[0], "measurement"), "nominal");
  EXPECT_FALSE(support::HasAttribute(fields[0], "base"));
  EXPECT_EQ(support::Attribute(fields[1], "storage"), "integer");
  EXPECT_EQ(support::Attribute(fields[1], "base"), "region");
  const pugi::xml_node price = support::Children(fields[2], "Category").at(1);
  EXPECT_EQ(support::Attribute(price, "value"), "1");
  EXPECT_EQ(support::Attribute(price, "code"), "1");

  // Writing what was read gives the same text.
  std::string again;
  ASSERT_TRUE(back.ExportXMLDoc(again));
  EXPECT_EQ(again, text);
}

TEST(CFMetaData, ReadsTheEnginesForm) {
  // As cut out of a larger result: a trailing sibling element, unknown attributes and elements
  // passed over, codes by position when left out, a base field written after its user.
  const std::string text =
      "<DataModel version=\"2\"><Field name=\"d\" storage=\"integer\" base=\"b\" extra=\"x\">"
      "<Category value=\" 5 \"/><Category value=\"-1\" code=\"9\" label=\"minus\"/><Note/>"
      "</Field><Field name=\"b\" storage=\"real\"><Category value=\"2.50\"/></Field>"
      "<Other/></DataModel><Parameter name=\"maxLag\"/>";
  CFMetaData model;
  const support::Status status = model.ImportXMLDoc(text);
  ASSERT_TRUE(status.ok()) << status.message();
  ASSERT_EQ(model.FieldCount(), 2u);
  const CFField& d = *model.GetField(0);
  EXPECT_EQ(d.GetStorage(), CFStorage::kInteger);
  EXPECT_EQ(d.GetMeasurement(), "");
  ASSERT_EQ(d.GetValues().size(), 2u);
  EXPECT_EQ(d.GetValues()[0], CFValue(CFDatum::Integer(5), 0));
  EXPECT_EQ(d.GetValues()[1], CFValue(CFDatum::Integer(-1), 9, "minus"));
  EXPECT_EQ(model.GetField(1)->GetValues()[0].GetDatum(), CFDatum::Real(2.5));

  const CFMetaData empty("<?xml version=\"1.0\"?><DataModel/>", nullptr);
  EXPECT_EQ(empty.FieldCount(), 0u);
}

TEST(CFMetaData, RefusesBrokenModelsAndKeepsWhatItHad) {
  const std::pair<std::string, std::string> cases[] = {
      {"<DataModel><Field name=\"a\"", "line 1"},
      {"", "no document element"},
      {"<Model/>", "no DataModel element"},
      {"<DataModel><Field storage=\"real\"/></DataModel>", "Field 1: has no name"},
      {"<DataModel><Field name=\"a\" storage=\"double\"/></DataModel>",
       "Field 1 \"a\": the storage \"double\" is none of"},
      {"<DataModel><Field name=\"a\" storage=\"real\"/><Field name=\"a\" storage=\"real\"/>"
       "</DataModel>",
       "Field 2 \"a\": occurs twice"},
      {"<DataModel><Field name=\"a\" storage=\"integer\"><Category value=\"1.5\"/></Field>"
       "</DataModel>",
       "category 1: \"1.5\" is no integer value"},
      {"<DataModel><Field name=\"a\" storage=\"integer\"><Category value=\"2147483648\"/>"
       "</Field></DataModel>",
       "\"2147483648\" is no integer value"},
      {"<DataModel><Field name=\"a\" storage=\"real\"><Category code=\"1\"/></Field>"
       "</DataModel>",
       "category 1 has no value"},
      {"<DataModel><Field name=\"a\" storage=\"string\"><Category value=\"x\" code=\"one\"/>"
       "</Field></DataModel>",
       "the code \"one\" is no integer"},
      {"<DataModel><Field name=\"a\" storage=\"real\"><Category value=\"1\"/>"
       "<Category value=\"1.0\" code=\"5\"/></Field></DataModel>",
       "category 2: the value \"1.0\" or the code 5 occurs twice"},
      {"<DataModel><Field name=\"a\" storage=\"string\"><Category value=\"x\" code=\"1\"/>"
       "<Category value=\"y\"/></Field></DataModel>",
       "occurs twice"},
      {"<DataModel><Field name=\"a\" storage=\"real\" base=\"z\"/></DataModel>",
       "the base field \"z\" is no other field"},
      {"<DataModel><Field name=\"a\" storage=\"real\" base=\"a\"/></DataModel>",
       "the base field \"a\" is no other field"},
  };
  for (const auto& [text, expected] : cases) {
    CFMetaData model = SampleModel();
    const support::Status status = model.ImportXMLDoc(text);
    EXPECT_FALSE(status.ok()) << text;
    EXPECT_THAT(status.message(), HasSubstr(expected)) << text;
    EXPECT_EQ(model, SampleModel()) << text;

    support::Error error;
    const CFMetaData built(text, &error);
    EXPECT_EQ(built.FieldCount(), 0u) << text;
    EXPECT_EQ(error.message, status.message());
  }
}

TEST(CFMetaData, WritesOnlyWhatXmlCanCarry) {
  for (const std::string& bad : {std::string("caf\xE9"), std::string("nul\0inside", 10)}) {
    CFMetaData by_name;
    ASSERT_TRUE(by_name.AddField(CFField(bad, CFStorage::kReal)));
    CFMetaData by_label;
    CFField field("f", CFStorage::kString);
    ASSERT_TRUE(field.AddValue(CFValue(CFDatum::String("v"), 0, bad)));
    ASSERT_TRUE(by_label.AddField(field));
    for (const CFMetaData* model : {&by_name, &by_label}) {
      std::string text = "untouched";
      EXPECT_FALSE(model->ExportXMLDoc(text));
      EXPECT_EQ(text, "untouched");
    }
  }
  // UTF-8 itself is fine.
  CFMetaData model;
  ASSERT_TRUE(model.AddField(CFField("caf\xC3\xA9", CFStorage::kReal)));
  std::string text;
  ASSERT_TRUE(model.ExportXMLDoc(text));
  EXPECT_EQ(CFMetaData(text, nullptr), model);
}

} // namespace
