#include "tools/offline/rules.h"

#include "tools/offline/daemon_terms.h"
#include "xml/reader.h"

namespace gwconf::tool {

using enum Severity;

constexpr std::array<RuleRow, kRuleCount> rule_table{{
    {Rule::kDisagreement, "GW000", kError, "the daemon refuses the file, and no rule tells why"},

    {Rule::kTextOutsideTags, "GW101", kError, "text outside of tags"},
    {Rule::kNoTagName, "GW102", kError, "tag without a name"},
    {Rule::kNoAttributeValue, "GW103", kError, "attribute without a value"},
    {Rule::kValueNotInQuotes, "GW104", kError, "attribute value not in double quotes"},
    {Rule::kValueNotClosed, "GW105", kError, "attribute value without its closing quote"},
    {Rule::kTagNotClosed, "GW106", kError, "tag cut off by the end of the file"},
    {Rule::kStrayCharacter, "GW107", kError, "character that does not belong into a tag"},
    {Rule::kEndTagNotBare, "GW108", kError, "end tag with more than its name"},
    {Rule::kCommentNotClosed, "GW109", kError, "comment without its end"},
    {Rule::kHeaderNotClosed, "GW110", kError, "header without its end"},
    {Rule::kTooManyAttributes, "GW111", kError, "more than # attributes", kAttributeMax},
    {Rule::kNulByte, "GW112", kError, "NUL byte"},
    {Rule::kFileTooLarge, "GW113", kError, "file of more than # bytes", kDocumentBytesMax},
    {Rule::kNotText, "GW114", kWarning, "bytes that are no UTF-8 text"},

    {Rule::kNoObject, "GW201", kError, "no object"},
    {Rule::kSecondRoot, "GW202", kError, "second root object"},
    {Rule::kObjectNotClosed, "GW203", kError, "object that is not closed"},
    {Rule::kExtraEnd, "GW204", kError, "end tag without a start"},
    {Rule::kParameterOutside, "GW205", kError, "parameter outside of any object"},
    {Rule::kParameterBehindChild, "GW206", kError, "parameter behind a child object"},
    {Rule::kParameterInParameter, "GW207", kError, "parameter inside a parameter"},
    {Rule::kObjectInParameter, "GW208", kError, "object inside a parameter"},
    {Rule::kParameterNotClosed, "GW209", kError, "parameter that is not closed"},
    {Rule::kObjectWithValue, "GW210", kError, "object with a value or an enumeration"},
    {Rule::kTagIgnored, "GW211", kWarning, "tag that the daemon passes over"},

    {Rule::kNoName, "GW301", kError, "no name"},
    {Rule::kNameCharacters, "GW302", kError, "name with other characters than letters and digits"},
    {Rule::kNameDot, "GW303", kError, "dot missing behind an object's name, or inside a name"},
    {Rule::kSegmentTooLong, "GW304", kError, "object name of more than # characters", kSegmentMax},
    {Rule::kPathTooLong, "GW305", kError, "path of more than # characters", kPathMax},
    {Rule::kDuplicateObject, "GW306", kError, "two objects of the same name"},
    {Rule::kDuplicateParameter, "GW307", kError, "two parameters of the same name"},
    {Rule::kNameOfParent, "GW308", kError, "object with the name of the object around it"},
    {Rule::kNameLikeRow, "GW309", kError, "object name that the daemon takes for a template"},
    {Rule::kRowNumber, "GW310", kError, "row number that is not written plainly"},
    {Rule::kRowNumberListed, "GW311", kWarning, "row number of five digits or more"},
    {Rule::kRootName, "GW312", kError, "root object of another name"},
    {Rule::kUnknownAttribute, "GW321", kNote, "attribute that the daemon ignores"},
    {Rule::kAttributeTwice, "GW322", kWarning, "attribute given twice"},
    {Rule::kWritable, "GW323", kWarning, "writable that is neither 0 nor 1"},
    {Rule::kRowNotWritable, "GW324", kWarning, "row that is not writable"},
    {Rule::kNotification, "GW325", kWarning, "notification that is none of 0, 1 and 2"},
    {Rule::kObjectType, "GW326", kWarning, "object of another type than object"},
    {Rule::kAttributeListTooLong, "GW327", kError, "attributes of more than # characters",
     kAttributeListMax},

    {Rule::kNoType, "GW401", kError, "parameter without a type"},
    {Rule::kUnknownType, "GW402", kError, "unknown type"},
    {Rule::kTypeTakenAs, "GW403", kWarning, "type that the daemon takes for another"},
    {Rule::kLimits, "GW404", kError, "limits that no value fits"},
    {Rule::kNumber, "GW405", kError, "value that is no number of its type"},
    {Rule::kOutsideLimits, "GW406", kError, "value outside of its limits"},
    {Rule::kTooLong, "GW407", kError, "value longer than its limit"},
    {Rule::kNotInEnumeration, "GW408", kError, "value that is not in its enumeration"},
    {Rule::kBoolean, "GW409", kError, "value that is no boolean"},
    {Rule::kBooleanWord, "GW410", kWarning, "boolean written as a word"},
    {Rule::kDateTime, "GW411", kError, "value that is no time"},
    {Rule::kIpAddress, "GW412", kError, "value that is no IP address"},
    {Rule::kNetmask, "GW413", kError, "value that is no netmask"},
    {Rule::kMacAddress, "GW414", kError, "value that is no MAC address"},
    {Rule::kBase64, "GW415", kError, "value that is not base64"},
    {Rule::kNotEscaped, "GW416", kError, "text that is not in its escaped form"},
    {Rule::kEnumerationItems, "GW417", kWarning, "enumeration with odd items"},
    {Rule::kEnumerationType, "GW418", kWarning, "enumeration beside a type that a save loses"},
    {Rule::kEnumerationLost, "GW419", kError, "enumeration in front of the type"},
    {Rule::kUnknownGetter, "GW420", kError, "unknown getter"},
    {Rule::kGetterWritable, "GW421", kWarning, "getter on a writable parameter"},

    {Rule::kCounterValue, "GW501", kError, "counter that differs from the number of rows"},
    {Rule::kCounterMissing, "GW502", kWarning, "table without a counter"},
    {Rule::kTemplateMissing, "GW503", kError, "table without a template"},
    {Rule::kTemplateChain, "GW504", kError, "nested table without a template in the chain"},
    {Rule::kRowOrder, "GW505", kError, "rows that do not ascend"},
    {Rule::kObjectAmongRows, "GW506", kError, "object that is no row among rows"},
    {Rule::kCounterOfNothing, "GW507", kWarning, "counter that counts no table"},
    {Rule::kCounterShared, "GW508", kWarning, "one counter for two tables"},
    {Rule::kNoRecordTable, "GW511", kError, "no table for deleted default rows"},
    {Rule::kNoRecordUri, "GW512", kError, "table for deleted default rows without URI"},
    {Rule::kBlockTooLarge, "GW513", kError, "settings that would not fit their block"},
    {Rule::kBlockNearlyFull, "GW514", kWarning, "settings that would nearly fill their block"},

    {Rule::kStandardObject, "GW601", kWarning, "object that the standard does not have"},
    {Rule::kStandardParameter, "GW602", kWarning, "parameter that the standard does not have"},
    {Rule::kStandardType, "GW603", kWarning, "type that differs from the standard's"},
    {Rule::kStandardLimits, "GW604", kWarning, "limits that differ from the standard's"},
    {Rule::kStandardAccess, "GW605", kWarning, "access that differs from the standard's"},
    {Rule::kStandardEnumeration, "GW606", kWarning, "enumeration that leaves the standard's"},
    {Rule::kStandardCounter, "GW607", kWarning, "table without the standard's counter"},
    {Rule::kStandardKind, "GW608", kWarning, "table where the standard has an object"},
}};

namespace {

consteval bool rules_are_in_order() {
  for (std::size_t row = 0; row < kRuleCount; ++row) {
    if (rule_table[row].rule != static_cast<Rule>(row) || rule_table[row].title.empty())
      return false;
    if (row > 0 && rule_table[row - 1].id >= rule_table[row].id) return false;
  }
  return true;
}
static_assert(rules_are_in_order());

consteval bool bounds_have_their_places() {
  for (const RuleRow& row : rule_table)
    if ((row.bound != 0) != (row.title.find('#') != std::string_view::npos)) return false;
  return true;
}
static_assert(bounds_have_their_places());

/// "2,097,152".
[[nodiscard]] std::string in_thousands(std::size_t number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3;)
    text.insert(at -= 3, ",");
  return text;
}

}  // namespace

std::string title_of(const RuleRow& rule) {
  std::string title{rule.title};
  if (rule.bound != 0) title.replace(title.find('#'), 1, in_thousands(rule.bound));
  return title;
}
}  // namespace gwconf::tool
