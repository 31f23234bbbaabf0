// This file contains OutputOrder, its locations and the parsing of its option texts.
#include "host/output/output_order.h"

std::vector<std::string> OutputLocation::Segments() const {
  if (is_list) return segments;
  std::vector<std::string> pieces;
  std::size_t start = 0;
  while (start <= dotted.size()) {
    std::size_t dot = dotted.find('.', start);
    if (dot == std::string::npos) dot = dotted.size();
    if (dot > start) pieces.push_back(dotted.substr(start, dot - start));
    start = dot + 1;
  }
  return pieces;
}

std::string OutputLocation::Describe() const {
  if (!is_list) return dotted;
  std::string text;
  for (const auto& segment : segments) {
    if (!text.empty()) text += " / ";
    text += segment;
  }
  return text;
}

OutputOrder& OutputOrder::setHeading(std::string heading) {
  heading_ = std::move(heading);
  return *this;
}

OutputOrder& OutputOrder::setOutlineTitle(std::string title, bool translate) {
  outline_title_ = std::move(title);
  translate_title_ = translate;
  return *this;
}

OutputOrder& OutputOrder::setType(Type type) {
  type_ = type;
  return *this;
}

OutputOrder& OutputOrder::setOMSSubType(std::string subtype) {
  oms_subtype_ = std::move(subtype);
  return *this;
}

OutputOrder& OutputOrder::setPathId(std::string path_id) {
  path_id_ = std::move(path_id);
  return *this;
}

OutputOrder& OutputOrder::addLocation(std::string dotted) {
  OutputLocation location;
  location.dotted = std::move(dotted);
  locations_.push_back(std::move(location));
  return *this;
}

OutputOrder& OutputOrder::addLocation(std::vector<std::string> segments) {
  OutputLocation location;
  location.is_list = true;
  location.segments = std::move(segments);
  locations_.push_back(std::move(location));
  return *this;
}

OutputOrder& OutputOrder::setOptions(std::string options) {
  option_texts_.push_back(std::move(options));
  return *this;
}

OutputOrder& OutputOrder::hideAllCategoriesExcept(std::string category, bool is_label) {
  has_visible_category_ = true;
  visible_category_ = std::move(category);
  visible_category_is_label_ = is_label;
  return *this;
}

std::map<std::string, std::string> OutputOrder::Options() const {
  std::map<std::string, std::string> options;
  for (const auto& text : option_texts_) ParseOutputOptions(text, options);
  return options;
}

std::string OutputOrder::Option(const std::string& key, const std::string& fallback) const {
  const auto options = Options();
  const auto found = options.find(key);
  return found == options.end() ? fallback : found->second;
}

void ParseOutputOptions(const std::string& text, std::map<std::string, std::string>& into) {
  std::string last_key;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t comma = text.find(',', start);
    if (comma == std::string::npos) comma = text.size();
    const std::string piece = text.substr(start, comma - start);
    start = comma + 1;
    if (piece.empty()) continue;
    const std::size_t equals = piece.find('=');
    if (equals != std::string::npos && equals > 0) {
      last_key = piece.substr(0, equals);
      into[last_key] = piece.substr(equals + 1);
    } else if (!last_key.empty()) {
      // No key of its own: the comma belonged to the value before (a path, a series name).
      into[last_key] += "," + piece;
    }
  }
}
