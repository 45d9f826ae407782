// The texts and lines of the load handler's errors. The lines are part of the errors as callers
// know them: fixed numbers, not positions in today's files.
#ifndef CPI_DICTINFO_STDDI_LOAD_LOADERRORS_H
#define CPI_DICTINFO_STDDI_LOAD_LOADERRORS_H

#include <cstdint>

namespace cpi {

inline constexpr const char* kHandlerSource = "cpi/dictinfo/stddi/stddictionaryhandler";

inline constexpr std::int32_t kNoIdentificationAtEndLine = 78;
inline constexpr std::int32_t kNoIdentificationAtStartLine = 119;
inline constexpr std::int32_t kFormatLevelLine = 377;
inline constexpr std::int32_t kCompatibilityLevelLine = 386;
inline constexpr std::int32_t kTagClassLine = 475;
inline constexpr std::int32_t kNullPermittedLine = 494;
inline constexpr std::int32_t kMemberClassLine = 564;
inline constexpr std::int32_t kRefusedItemLine = 600;  // bounds that the handler keeps itself

inline constexpr const char* kDataOperation = "StdDictionaryHandler::data";
inline constexpr const char* kNoIdentificationText = "Identification section not present";
inline constexpr const char* kReExtractText =
    "File may have been generated with an out of date extractor. Re-extract with new extractor.";
inline constexpr const char* kIgnoringTagText = "WARNING: ignoring tag from struct";

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_LOAD_LOADERRORS_H
