#include "cpi/walk/xmltrail.h"

namespace cpi {

void XmlTrail::clear() noexcept {
  frames_.clear();
  counter_.forget(0);
  elements_ = 0;
}

XmlFrame& XmlTrail::enter(const XmlName& name, std::size_t names) {
  counter_.grow(names);
  XmlFrame frame;
  if (!frames_.empty()) frame.occurrence = counter_.count(frames_.back().number, name.number);
  frame.number = ++elements_;
  frame.countsMark = counter_.mark();
  return frames_.emplace_back(frame);
}

void XmlTrail::leave() noexcept {
  counter_.forget(frames_.back().countsMark);
  frames_.pop_back();
}

std::vector<PathStep> XmlTrail::path() const {
  std::vector<PathStep> path;
  for (const XmlFrame& frame : frames_) {
    path.push_back({frame.local, frame.uri == nullptr ? "" : frame.uri, frame.occurrence});
  }
  return path;
}

}  // namespace cpi
