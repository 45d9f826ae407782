#include "cpi/walk/verdict.h"

namespace cpi {

std::string toText(const std::vector<PathStep>& path) {
  std::string text;
  for (const PathStep& step : path) {
    text += '/';
    text += step.name;
    if (step.occurrence > 1) text += '[' + std::to_string(step.occurrence) + ']';
  }
  return text;
}

}  // namespace cpi
