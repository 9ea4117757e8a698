#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace gwconf::tool {

enum class Severity { kNote, kWarning, kError };

[[nodiscard]] constexpr std::string_view severity_text(Severity severity) {
  constexpr std::string_view kTexts[] = {"note", "warning", "error"};
  return kTexts[static_cast<std::size_t>(severity)];
}

/// What `gwctl check` looks for, in the order of the table below.
enum class Rule {
  kDisagreement,
  kTextOutsideTags,
  kNoTagName,
  kNoAttributeValue,
  kValueNotInQuotes,
  kValueNotClosed,
  kTagNotClosed,
  kStrayCharacter,
  kEndTagNotBare,
  kCommentNotClosed,
  kHeaderNotClosed,
  kTooManyAttributes,
  kNulByte,
  kFileTooLarge,
  kNotText,
  kNoObject,
  kSecondRoot,
  kObjectNotClosed,
  kExtraEnd,
  kParameterOutside,
  kParameterBehindChild,
  kParameterInParameter,
  kObjectInParameter,
  kParameterNotClosed,
  kObjectWithValue,
  kTagIgnored,
  kNoName,
  kNameCharacters,
  kNameDot,
  kSegmentTooLong,
  kPathTooLong,
  kDuplicateObject,
  kDuplicateParameter,
  kNameOfParent,
  kNameLikeRow,
  kRowNumber,
  kRowNumberListed,
  kRootName,
  kUnknownAttribute,
  kAttributeTwice,
  kWritable,
  kRowNotWritable,
  kNotification,
  kObjectType,
  kAttributeListTooLong,
  kNoType,
  kUnknownType,
  kTypeTakenAs,
  kLimits,
  kNumber,
  kOutsideLimits,
  kTooLong,
  kNotInEnumeration,
  kBoolean,
  kBooleanWord,
  kDateTime,
  kIpAddress,
  kNetmask,
  kMacAddress,
  kBase64,
  kNotEscaped,
  kEnumerationItems,
  kEnumerationType,
  kEnumerationLost,
  kUnknownGetter,
  kGetterWritable,
  kCounterValue,
  kCounterMissing,
  kTemplateMissing,
  kTemplateChain,
  kRowOrder,
  kObjectAmongRows,
  kCounterOfNothing,
  kCounterShared,
  kNoRecordTable,
  kNoRecordUri,
  kBlockTooLarge,
  kBlockNearlyFull,
  kStandardObject,
  kStandardParameter,
  kStandardType,
  kStandardLimits,
  kStandardAccess,
  kStandardEnumeration,
  kStandardCounter,
  kStandardKind,
};

struct RuleRow {
  Rule rule;
  std::string_view id;
  Severity severity;
  std::string_view title;  ///< "#" stands for the bound
  std::size_t bound = 0;   ///< of the daemon's
};

inline constexpr std::size_t kRuleCount = static_cast<std::size_t>(Rule::kStandardKind) + 1;

/// Identifiers never change their meaning; docs/check-rules.md has a section for each.
extern const std::array<RuleRow, kRuleCount> rule_table;

[[nodiscard]] inline const RuleRow& row_of(Rule rule) {
  return rule_table[static_cast<std::size_t>(rule)];
}

/// The title with its bound in it: "file of more than 2,097,152 bytes".
[[nodiscard]] std::string title_of(const RuleRow& rule);

/// One finding in one text.
struct Finding {
  Rule rule = Rule::kDisagreement;
  std::size_t at = 0;      ///< offset in the text
  std::size_t length = 1;  ///< bytes that it is about
  std::string message;
  std::size_t element = std::string::npos;  ///< of the outline, where it is about one
  bool stops = false;                       ///< the daemon does not load the file because of it
};

using Findings = std::vector<Finding>;

}  // namespace gwconf::tool
