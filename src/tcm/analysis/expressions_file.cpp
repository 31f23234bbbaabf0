// This file contains the reading of an expressions file's derived fields.
#include "tcm/analysis/expressions_file.h"

#include "support/xml_util.h"

namespace {

void CollectFieldRefs(pugi::xml_node node, std::vector<std::string>& fields) {
  for (pugi::xml_node child : node.children()) {
    if (child.type() != pugi::node_element) continue;
    if (std::string_view(child.name()) == "FieldRef" && support::HasAttribute(child, "field")) {
      fields.push_back(support::Attribute(child, "field"));
    }
    CollectFieldRefs(child, fields);
  }
}

// A derived field holds no other (the form allows none), so the walk does not look inside one
// for more.
void CollectDerivedFields(pugi::xml_node node, std::vector<std::string>& names,
                          std::map<std::string, ExpressionSpec>& fields) {
  for (pugi::xml_node child : node.children()) {
    if (child.type() != pugi::node_element) continue;
    if (std::string_view(child.name()) != "DerivedField") {
      CollectDerivedFields(child, names, fields);
      continue;
    }
    const std::string name = support::Attribute(child, "name");
    // A field without a name could never be called from the syntax.
    if (name.empty()) continue;
    names.push_back(name);
    ExpressionSpec expression;
    expression.name = name;
    CollectFieldRefs(child, expression.fields);
    fields.emplace(name, std::move(expression));
  }
}

}  // namespace

bool ReadExpressionsText(const std::string& text, std::vector<std::string>& names,
                         std::map<std::string, ExpressionSpec>& fields) {
  auto document = support::ParseXml(text);
  if (!document.ok()) return false;
  CollectDerivedFields(document.value(), names, fields);
  return true;
}

int32_t CountFieldRefs(const std::map<std::string, ExpressionSpec>& fields) {
  int32_t count = 0;
  for (const auto& [name, expression] : fields) count += static_cast<int32_t>(expression.fields.size());
  return count;
}
