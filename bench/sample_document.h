// The sample document the data benchmarks share, built three ways: as the library's value
// tree, as its definition, and as the equivalent nlohmann::json document.
//
// The document is a structure "catalogue" holding a list of N records. A record has an
// integer id, a string name, a list of three string tags, a double price, a boolean flag,
// a nested owner structure of two strings, and an optional note that half of the records
// carry (the JSON form leaves the note out of the others).
#pragma once

#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "olma/data/definitions.h"
#include "olma/data/values.h"

namespace sample {

inline Olma::Data::DataDefinition::PtrConstType MakeDefinition() {
  using namespace Olma::Data;
  const auto text = StringDefinition::GetInstance();
  const auto owner = StructDefinition::GetInstance("owner", {{"first", text}, {"last", text}});
  const auto record =
      StructDefinition::GetInstance("record", {{"id", IntegerDefinition::GetInstance()},
                                               {"name", text},
                                               {"tags", ListDefinition::GetInstance(text)},
                                               {"price", DoubleDefinition::GetInstance()},
                                               {"active", BooleanDefinition::GetInstance()},
                                               {"owner", owner},
                                               {"note", OptionalDefinition::GetInstance(text)}});
  return StructDefinition::GetInstance("catalogue", {{"records", ListDefinition::GetInstance(record)}});
}

inline Olma::Data::DataValue::PtrConstType MakeValue(int records) {
  using namespace Olma::Data;
  auto list = ListValue::GetInstance();
  for (int i = 0; i < records; ++i) {
    auto record = StructValue::GetInstance("record");
    record->SetField("id", IntegerValue::GetInstance(i));
    record->SetField("name", StringValue::GetInstance("record number " + std::to_string(i)));
    auto tags = ListValue::GetInstance();
    for (const char* tag : {"red", "green", "blue"}) tags->push_back(StringValue::GetInstance(tag));
    record->SetField("tags", tags);
    record->SetField("price", DoubleValue::GetInstance(i * 0.25));
    record->SetField("active", BooleanValue::GetInstance(i % 3 == 0));
    auto owner = StructValue::GetInstance("owner");
    owner->SetField("first", StringValue::GetInstance("Ada"));
    owner->SetField("last", StringValue::GetInstance("Lovelace"));
    record->SetField("owner", owner);
    record->SetField("note", i % 2 == 0
                                 ? OptionalValue::GetInstance(StringValue::GetInstance("handle with care"))
                                 : OptionalValue::GetInstance());
    list->push_back(record);
  }
  auto document = StructValue::GetInstance("catalogue");
  document->SetField("records", list);
  return document;
}

inline nlohmann::json MakeJson(int records) {
  nlohmann::json list = nlohmann::json::array();
  for (int i = 0; i < records; ++i) {
    nlohmann::json record = {{"id", i},
                             {"name", "record number " + std::to_string(i)},
                             {"tags", {"red", "green", "blue"}},
                             {"price", i * 0.25},
                             {"active", i % 3 == 0},
                             {"owner", {{"first", "Ada"}, {"last", "Lovelace"}}}};
    if (i % 2 == 0) record["note"] = "handle with care";
    list.push_back(std::move(record));
  }
  return {{"records", std::move(list)}};
}

}  // namespace sample
