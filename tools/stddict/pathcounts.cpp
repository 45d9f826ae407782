#include "tools/stddict/pathcounts.h"

#include <fmt/format.h>

#include <iterator>

#include "tools/stddict/findingjson.h"
#include "tools/stddict/terminal.h"
#include "tools/stddict/walkwords.h"

namespace {

bool isAboutElement(cpi::VerdictKind kind) {
  return static_cast<std::size_t>(kind) <= static_cast<std::size_t>(cpi::VerdictKind::Unjudged);
}

// "2 value, 1 incomplete"; elements in their places, and unjudged ones, are no faults.
std::string faultsOf(const PathCounts::Kinds& kinds) {
  std::string text;
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    const auto kind = static_cast<cpi::VerdictKind>(i);
    if (kind == cpi::VerdictKind::Placed || kind == cpi::VerdictKind::Unjudged) continue;
    if (kinds[i] == 0) continue;
    fmt::format_to(std::back_inserter(text), "{}{} {}", text.empty() ? "" : ", ", kinds[i],
                   wordOf(kind));
  }
  return text;
}

}  // namespace

void PathCounts::count(const cpi::WalkedElement& element) {
  for (; depth_ >= element.depth; --depth_) at_ = at_->parent;
  at_ = &childOf(*at_, element.name);
  ++depth_;
  ++at_->kinds[static_cast<std::size_t>(element.verdict.kind)];
}

// The element may have ended by now, so it is sought by its path.
void PathCounts::count(const cpi::Finding& finding) {
  if (isAboutElement(finding.verdict.kind)) return;
  Node* node = &root_;
  for (const cpi::PathStep& step : finding.path) node = &childOf(*node, step.name);
  ++node->kinds[static_cast<std::size_t>(finding.verdict.kind)];
}

void PathCounts::add(const PathCounts& other) {
  addNode(root_, other.root_);
  accepted_ += other.accepted_;
  refused_ += other.refused_;
  unreadable_ += other.unreadable_;
}

void PathCounts::addNode(Node& to, const Node& from) {
  for (std::size_t i = 0; i < from.kinds.size(); ++i) to.kinds[i] += from.kinds[i];
  for (const auto& [name, child] : from.children) addNode(childOf(to, name), child);
}

std::string PathCounts::toText() const {
  std::string text =
      fmt::format("{} accepted, {} refused, {} unreadable\n", accepted_, refused_, unreadable_);
  forEach(root_, "", [&](const std::string& path, const Kinds& kinds) {
    const std::string faults = faultsOf(kinds);
    if (faults.empty()) return;
    fmt::format_to(std::back_inserter(text), "{}: {} placed, {}\n", printable(path), kinds[0],
                   faults);
  });
  return text;
}

std::string PathCounts::toJson() const {
  WalkJson paths = WalkJson::array();
  forEach(root_, "", [&](const std::string& path, const Kinds& kinds) {
    WalkJson entry = {{"path", path}};
    for (std::size_t i = 0; i < kinds.size(); ++i) {
      if (kinds[i] != 0) entry[std::string(wordOf(static_cast<cpi::VerdictKind>(i)))] = kinds[i];
    }
    paths.push_back(std::move(entry));
  });
  const WalkJson all = {{"accepted", accepted_},
                        {"refused", refused_},
                        {"unreadable", unreadable_},
                        {"paths", std::move(paths)}};
  return toLine({{"paths", all}}) + "\n";
}

PathCounts::Node& PathCounts::childOf(Node& node, std::string_view name) {
  if (const auto found = node.children.find(name); found != node.children.end()) {
    return found->second;
  }
  if (paths_ >= kMaxPaths) name = "...";
  const auto [entry, isNew] = node.children.try_emplace(std::string(name));
  if (isNew) {
    ++paths_;
    entry->second.parent = &node;
  }
  return entry->second;
}

template <class Visit>
void PathCounts::forEach(const Node& node, const std::string& path, const Visit& visit) {
  for (const auto& [name, child] : node.children) {
    const std::string below = path + "/" + name;
    visit(below, child.kinds);
    forEach(child, below, visit);
  }
}
