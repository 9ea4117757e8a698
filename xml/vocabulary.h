#pragma once

#include <string_view>

namespace gwconf {

/// Largest configuration file that is read or written, in bytes.
inline constexpr long kDocumentMax = 2'097'152;

// The words of both XML dialects: plain C texts, since the XML library takes them too.

inline constexpr char kTagObject[] = "OBJECT";
inline constexpr char kTagParameter[] = "PARAMETER";
inline constexpr char kTagElement[] = "Element";  ///< objects and parameters alike
inline constexpr char kTagDataModel[] = "DATAMODEL";
inline constexpr char kTagCml[] = "VANTREL_CML";

inline constexpr char kAttrName[] = "name";
inline constexpr char kAttrType[] = "type";
inline constexpr char kAttrValue[] = "value";
inline constexpr char kAttrWritable[] = "writable";
inline constexpr char kAttrNotification[] = "notification";
inline constexpr char kAttrDisabled[] = "Disabled";
inline constexpr char kAttrShortName[] = "sname";
inline constexpr char kAttrEnumeration[] = "enumeration";
inline constexpr char kAttrFunction[] = "function";
inline constexpr char kAttrPlatform[] = "Platform";

inline constexpr char kTypeObject[] = "object";  ///< the "type" of every object

/// What a writer puts around attribute lists. Every attribute in a list is followed by a blank, so
/// the texts that close a tag start without one.
struct Dialect {
  std::string_view document_start;
  std::string_view object_start;
  std::string_view object_start_close;
  std::string_view object_end;
  std::string_view parameter_start;
  std::string_view parameter_close;
  std::string_view document_end;
};

/// The dialect of the saved settings.
inline constexpr Dialect kDataModelDialect = {
    .document_start = "<DATAMODEL>\n",
    .object_start = "<OBJECT ",
    .object_start_close = ">\n",
    .object_end = "</OBJECT>\n",
    .parameter_start = "<PARAMETER ",
    .parameter_close = "/>\n",
    .document_end = "</DATAMODEL>\n",
};

/// The element dialect from the same writer.
inline constexpr Dialect kElementDialect = {
    .document_start = "<VANTREL_CML>\n",
    .object_start = "<Element ",
    .object_start_close = ">\n",
    .object_end = "</Element>\n",
    .parameter_start = "<Element ",
    .parameter_close = "></Element>\n",
    .document_end = "</VANTREL_CML>\n",
};

}  // namespace gwconf
