// DataCnv: converts ISO 8601 texts of a dictionary into date-times and intervals.
//
// Thread rule: `const` means safe to share.
#ifndef CPI_RUNTIME_DATACNV_H
#define CPI_RUNTIME_DATACNV_H

#include <cstdint>
#include <stdexcept>
#include <string>

#include "cpi/runtime/export.h"
#include "cpi/runtime/kellog.h"
#include "cpi/runtime/pwfdata.h"

namespace cpi {

enum EEndian : std::int32_t { EEndianLittle = 1, EEndianBig = 2 };
enum EFloatFmt : std::int32_t { EFloatFmtIEEE = 1 };

// The date-time format of the dictionary stream, the only one that the converter knows.
CPI_API extern const unsigned short* const CPI_STD_DATETIME_FORMAT;

// A text that does not convert: what() says what was expected, and where in the text.
class CPI_API DataCnvError : public std::runtime_error {
 public:
  explicit DataCnvError(const std::string& message) : std::runtime_error(message) {}
  ~DataCnvError() override;
};

class CPI_API DataCnv {
 public:
  // The settings describe the data that a converter is made for. Text to date-time and text to
  // interval, the conversions of a dictionary, depend on none of them.
  DataCnv(std::int32_t codePage, EEndian endian, EFloatFmt floatFormat, std::int32_t mantissaBits,
          const unsigned short* decimalSeparator, const unsigned short* groupSeparator,
          std::int32_t scale, bool isStrict, std::int32_t precision,
          const KelLogSource* logSource) noexcept;

  // Reads [-]YYYY-MM-DDThh:mm:ss[.f...][Z|+hh:mm|-hh:mm] (24:00:00 is midnight's other name and is
  // kept as read); also a date or a time alone, the missing fields being 0. A year may have more
  // digits; a zone lies up to 14:00 from UTC. Fractions beyond microseconds are cut. `length`
  // counts code units, -1: up to the terminator. `format` must be CPI_STD_DATETIME_FORMAT's text.
  // Throws DataCnvError.
  PWFDateTime StrToDateTime(const unsigned short* text, const unsigned short* format,
                            std::int32_t length) const;
  // Reads [-]PnYnMnWnDTnHnMn[.f...]S: at least one unit, units in that order. A week is seven
  // days. Throws DataCnvError.
  PWFInterval StrToInterval(const unsigned short* text, std::int32_t length) const;
};

}  // namespace cpi

#endif  // CPI_RUNTIME_DATACNV_H
