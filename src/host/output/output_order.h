// This file contains OutputOrder: one output object in the making, as a procedure describes it
// to the report renderer (heading path, title, type, document locations, options).
#pragma once

#include <map>
#include <string>
#include <vector>

// Where an object's data sits in the output document, relative to the document's root key. A
// dotted location ("interpretation.modelFitStatistics.table") is split at its dots; a list
// location is taken segment by segment, so a segment may hold a "." (a series key).
struct OutputLocation {
  bool is_list = false;
  std::string dotted;                 // dotted form
  std::vector<std::string> segments;  // list form

  // The path's segments: the dotted text split at "." (empty pieces dropped), or the list.
  std::vector<std::string> Segments() const;
  // The location as one text for messages: the dotted text, or the segments joined by " / ".
  std::string Describe() const;
};

class OutputOrder {
 public:
  // The type is a plain enumeration on purpose: procedures pass it as OutputOrder::TypeTable or
  // as its value (0, 1, 2).
  enum Type : int { TypeTable = 0, TypeChart = 1, TypeInteractive = 2 };

  OutputOrder() = default;
  ~OutputOrder() = default;
  OutputOrder(const OutputOrder&) = default;
  OutputOrder& operator=(const OutputOrder&) = default;

  // Outline path, levels separated by ".".
  OutputOrder& setHeading(std::string heading);
  // `translate` true: a fixed English text the renderer translates; false: final text.
  OutputOrder& setOutlineTitle(std::string title, bool translate);
  OutputOrder& setType(Type type);
  OutputOrder& setOMSSubType(std::string subtype);
  OutputOrder& setPathId(std::string path_id);
  OutputOrder& addLocation(std::string dotted);
  OutputOrder& addLocation(std::vector<std::string> segments);
  // Comma-separated key=value pairs; each call adds to the pairs of earlier calls, and a key
  // given again takes the later value.
  OutputOrder& setOptions(std::string options);
  // In a table, the one category that stays visible: matched against the category labels when
  // `is_label` is true, against the categories' keys when false (each form falls back on the
  // other when the table does not carry it).
  OutputOrder& hideAllCategoriesExcept(std::string category, bool is_label);

  const std::string& Heading() const { return heading_; }
  const std::string& OutlineTitle() const { return outline_title_; }
  bool TranslateTitle() const { return translate_title_; }
  Type GetType() const { return type_; }
  const std::string& OMSSubType() const { return oms_subtype_; }
  const std::string& PathId() const { return path_id_; }
  const std::vector<OutputLocation>& Locations() const { return locations_; }
  // The texts of the setOptions calls, in order.
  const std::vector<std::string>& OptionTexts() const { return option_texts_; }
  // All pairs of all calls. A piece without "=" continues the value before it, so a file path
  // holding a comma survives ("modelSystemFilePath=/a,b/m.zip"). Keys keep their case.
  std::map<std::string, std::string> Options() const;
  // The value of one option, or `fallback`.
  std::string Option(const std::string& key, const std::string& fallback = {}) const;
  bool HasVisibleCategory() const { return has_visible_category_; }
  const std::string& VisibleCategory() const { return visible_category_; }
  bool VisibleCategoryIsLabel() const { return visible_category_is_label_; }

 private:
  std::string heading_;
  std::string outline_title_;
  bool translate_title_ = false;
  Type type_ = TypeTable;
  std::string oms_subtype_;
  std::string path_id_;
  std::vector<OutputLocation> locations_;
  std::vector<std::string> option_texts_;
  bool has_visible_category_ = false;
  std::string visible_category_;
  bool visible_category_is_label_ = true;
};

// Parses one options text into `into` (later keys replace earlier ones). See Options().
void ParseOutputOptions(const std::string& text, std::map<std::string, std::string>& into);
