// This file contains the message keys of the dataset's readers and writers, and the budget that
// keeps a file with many bad rows from flooding the output.
#pragma once

#include <string>
#include <vector>

class ParserMessage;

namespace host::msg {

// The data file.
inline constexpr const char* kFileNotFound = "DATA_FILE_NOT_FOUND_KEY";      // file
inline constexpr const char* kFileUnreadable = "DATA_FILE_UNREADABLE_KEY";  // file, reason
inline constexpr const char* kFileIsFolder = "DATA_FILE_IS_FOLDER_KEY";     // file
inline constexpr const char* kFileUtf16 = "DATA_FILE_UTF16_KEY";            // file
inline constexpr const char* kFileEmpty = "DATA_FILE_EMPTY_KEY";            // file
inline constexpr const char* kFileArchive = "DATA_FILE_ARCHIVE_KEY";        // file
inline constexpr const char* kFileEncrypted = "DATA_FILE_ENCRYPTED_KEY";    // file
inline constexpr const char* kNotInEncoding = "DATA_NOT_IN_ENCODING_KEY";   // file, line, enc
inline constexpr const char* kNoCases = "DATA_NO_CASES_KEY";                // file (warning)
inline constexpr const char* kUnterminatedQuote = "DATA_UNTERMINATED_QUOTE_KEY";  // f, line
inline constexpr const char* kShortRow = "DATA_SHORT_ROW_KEY";  // file, line, count, expected (w)
inline constexpr const char* kLongRow = "DATA_LONG_ROW_KEY";    // file, line, count, expected
inline constexpr const char* kNotUtf8 = "DATA_NOT_UTF8_KEY";  // file, line, text, count (w)
// file, variable, format, count, the first ones as kBadValueItem joined (warning)
inline constexpr const char* kBadValue = "DATA_BAD_VALUE_KEY";
inline constexpr const char* kBadValueItem = "DATA_BAD_VALUE_ITEM_KEY";  // line, text
inline constexpr const char* kMoreProblems = "DATA_MORE_PROBLEMS_KEY";  // file, count (warning)
inline constexpr const char* kVarNameInvalid = "DATA_VAR_NAME_INVALID_KEY";  // f, l, name, new
inline constexpr const char* kVarNameDuplicate = "DATA_VAR_NAME_DUPLICATE_KEY";  // same
inline constexpr const char* kVarNameEmpty = "DATA_VAR_NAME_EMPTY_KEY";  // file, line, column, new

// The dictionary file.
inline constexpr const char* kDictNotFound = "DICT_FILE_NOT_FOUND_KEY";      // file
inline constexpr const char* kDictUnreadable = "DICT_FILE_UNREADABLE_KEY";  // file, reason
inline constexpr const char* kDictJsonSyntax = "DICT_JSON_SYNTAX_KEY";  // file, line, column, near
inline constexpr const char* kDictNeedObject = "DICT_NEED_OBJECT_KEY";  // file, line, what
inline constexpr const char* kDictNeedArray = "DICT_NEED_ARRAY_KEY";    // file, line, what
inline constexpr const char* kDictNeedText = "DICT_NEED_TEXT_KEY";      // file, line, what
inline constexpr const char* kDictNeedNumber = "DICT_NEED_NUMBER_KEY";  // file, line, what
inline constexpr const char* kDictNeedInteger = "DICT_NEED_INTEGER_KEY";  // file, line, what
inline constexpr const char* kDictNoName = "DICT_NO_NAME_KEY";          // file, line
inline constexpr const char* kDictUnknownVariable = "DICT_UNKNOWN_VARIABLE_KEY";  // f,l,name,data
inline constexpr const char* kDictRepeatedVariable = "DICT_REPEATED_VARIABLE_KEY";  // f, l, name
inline constexpr const char* kDictUnknownField = "DICT_UNKNOWN_FIELD_KEY";  // f, l, key (warning)
inline constexpr const char* kDictUnknownType = "DICT_UNKNOWN_TYPE_KEY";    // f, l, type, name
inline constexpr const char* kDictUnknownMeasure = "DICT_UNKNOWN_MEASURE_KEY";  // f, l, text, name
inline constexpr const char* kDictUnknownRole = "DICT_UNKNOWN_ROLE_KEY";    // f, l, text, name
inline constexpr const char* kDictFormatSyntax = "DICT_FORMAT_SYNTAX_KEY";  // f, l, format, name
inline constexpr const char* kDictFormatName = "DICT_FORMAT_NAME_KEY";      // f, l, format, name
inline constexpr const char* kDictFormatWidth = "DICT_FORMAT_WIDTH_KEY";    // f, l, format, lo, hi
inline constexpr const char* kDictFormatDecimals = "DICT_FORMAT_DECIMALS_KEY";  // f, l, fmt, max
// f, l, format, name
inline constexpr const char* kDictStringFormatNumeric = "DICT_STRING_FORMAT_NUMERIC_KEY";
// f, l, format, name
inline constexpr const char* kDictNumericFormatString = "DICT_NUMERIC_FORMAT_STRING_KEY";
inline constexpr const char* kDictWidthRange = "DICT_WIDTH_RANGE_KEY";  // f, l, width, name
inline constexpr const char* kDictWidthNumeric = "DICT_WIDTH_NUMERIC_KEY";  // f, l, name (warning)
inline constexpr const char* kDictWidthGrown = "DICT_WIDTH_GROWN_KEY";  // f,l,name,width,need (w)
inline constexpr const char* kDictWidthCapped = "DICT_WIDTH_CAPPED_KEY";  // f, name, width, max (w)
inline constexpr const char* kDictEncoding = "DICT_ENCODING_KEY";          // f, l, encoding
inline constexpr const char* kDictLabelValue = "DICT_LABEL_VALUE_KEY";      // f, l, value, name
inline constexpr const char* kDictMissingValue = "DICT_MISSING_VALUE_KEY";  // f, l, value, name
inline constexpr const char* kDictMissingRange = "DICT_MISSING_RANGE_KEY";  // f, l, name
inline constexpr const char* kDictRangeString = "DICT_RANGE_STRING_KEY";    // f, l, name

// The date definition.
inline constexpr const char* kDateComponent = "DATEDEF_COMPONENT_KEY";   // f, l, text
inline constexpr const char* kDateRepeated = "DATEDEF_REPEATED_KEY";     // f, l, component
inline constexpr const char* kDateOrder = "DATEDEF_ORDER_KEY";           // f, l, part, previous
inline constexpr const char* kDateStart = "DATEDEF_START_KEY";           // f, l, part, lo, hi
inline constexpr const char* kDateNeedStart = "DATEDEF_NEED_START_KEY";  // f, l, part
inline constexpr const char* kDatePeriod = "DATEDEF_PERIOD_KEY";         // f, l
inline constexpr const char* kDatePeriodIgnored = "DATEDEF_PERIOD_IGNORED_KEY";  // f, l (warning)
inline constexpr const char* kDateCycleLast = "DATEDEF_CYCLE_LAST_KEY";  // f, l
inline constexpr const char* kDateNameTaken = "DATEDEF_NAME_TAKEN_KEY";  // f, l, name
inline constexpr const char* kDateQuarterMonth = "DATEDEF_QUARTER_MONTH_KEY";  // f, l, month, q
// Labels of the variables a date definition makes.
inline constexpr const char* kDateLabelTop = "DATEVAR_LABEL_KEY";            // part
inline constexpr const char* kDateLabelPeriodic = "DATEVAR_PERIODIC_LABEL_KEY";  // part, length
inline constexpr const char* kDateLabelText = "DATEVAR_DATE_LABEL_KEY";      // parts

// Writing.
inline constexpr const char* kWriteFolderMissing = "WRITE_FOLDER_MISSING_KEY";  // file, folder
inline constexpr const char* kWritePathIsFolder = "WRITE_PATH_IS_FOLDER_KEY";  // file
inline constexpr const char* kWriteFailed = "WRITE_FAILED_KEY";                // file, reason

// `tcm describe`.
inline constexpr const char* kDescribeHeader = "DESCRIBE_HEADER_KEY";  // source, vars, cases
inline constexpr const char* kDescribeColumns = "DESCRIBE_COLUMNS_KEY";  // "a|b|..." headings
inline constexpr const char* kDescribeNumeric = "DESCRIBE_NUMERIC_KEY";
inline constexpr const char* kDescribeString = "DESCRIBE_STRING_KEY";    // width
inline constexpr const char* kDescribeMeasures = "DESCRIBE_MEASURES_KEY";  // "a|b|c|d"
inline constexpr const char* kDescribeRoles = "DESCRIBE_ROLES_KEY";        // "a|b|..."
inline constexpr const char* kDescribeValueLabels = "DESCRIBE_VALUE_LABELS_KEY";
inline constexpr const char* kDescribeMissing = "DESCRIBE_MISSING_KEY";    // list
inline constexpr const char* kDescribeRange = "DESCRIBE_RANGE_KEY";        // low, high
inline constexpr const char* kDescribeDateDef = "DESCRIBE_DATEDEF_KEY";
inline constexpr const char* kDescribeDatePart = "DESCRIBE_DATE_PART_KEY";  // name, start, lvl, len
inline constexpr const char* kDescribeNoDateDef = "DESCRIBE_NO_DATEDEF_KEY";
inline constexpr const char* kDescribeFirstCases = "DESCRIBE_FIRST_CASES_KEY";  // shown, total
inline constexpr const char* kDescribeNoCases = "DESCRIBE_NO_CASES_KEY";

// Every key above, for the test that each has a text in the string table.
inline constexpr const char* kAllKeys[] = {
    kFileNotFound, kFileUnreadable, kFileIsFolder, kFileUtf16, kFileEmpty, kFileArchive,
    kFileEncrypted, kNotInEncoding, kNoCases, kUnterminatedQuote, kShortRow, kLongRow, kNotUtf8,
    kBadValue, kBadValueItem, kMoreProblems,
    kVarNameInvalid, kVarNameDuplicate, kVarNameEmpty, kDictNotFound, kDictUnreadable,
    kDictJsonSyntax, kDictNeedObject, kDictNeedArray, kDictNeedText, kDictNeedNumber,
    kDictNeedInteger, kDictNoName, kDictUnknownVariable, kDictRepeatedVariable,
    kDictUnknownField, kDictUnknownType, kDictUnknownMeasure, kDictUnknownRole,
    kDictFormatSyntax, kDictFormatName, kDictFormatWidth, kDictFormatDecimals,
    kDictStringFormatNumeric, kDictNumericFormatString, kDictWidthRange, kDictWidthNumeric,
    kDictWidthGrown, kDictWidthCapped, kDictEncoding, kDictLabelValue, kDictMissingValue, kDictMissingRange, kDictRangeString,
    kDateComponent, kDateRepeated, kDateOrder, kDateStart, kDateNeedStart, kDatePeriod,
    kDatePeriodIgnored, kDateCycleLast, kDateNameTaken, kDateQuarterMonth, kDateLabelTop,
    kDateLabelPeriodic, kDateLabelText, kWriteFolderMissing, kWritePathIsFolder, kWriteFailed,
    kDescribeHeader, kDescribeColumns, kDescribeNumeric, kDescribeString, kDescribeMeasures,
    kDescribeRoles, kDescribeValueLabels, kDescribeMissing, kDescribeRange, kDescribeDateDef,
    kDescribeDatePart, kDescribeNoDateDef, kDescribeFirstCases, kDescribeNoCases};

}  // namespace host::msg

namespace host {

// Lists at most `limit` problems of a file one by one, counts the rest, and reports the count
// once at the end (DATA_MORE_PROBLEMS_KEY).
class ProblemBudget {
 public:
  explicit ProblemBudget(int limit = 10) : limit_(limit) {}
  // True when this problem is still to be listed.
  bool Take() { return ++seen_ <= limit_; }
  // Reports the problems not listed, if any.
  void ReportRest(ParserMessage& messages, const std::string& file) const;

 private:
  int limit_;
  int seen_ = 0;
};

// Text of a message from the string table (for texts the host builds, not messages).
std::string HostText(const char* key, const std::vector<std::string>& args = {});

}  // namespace host
