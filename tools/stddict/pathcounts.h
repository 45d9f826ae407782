// PathCounts: how often each kind of verdict was given at each path, over many messages.
//
// Thread rule: used by one thread at a time; each thread may count for itself and add up in the
// end.
#ifndef TOOLS_STDDICT_PATHCOUNTS_H
#define TOOLS_STDDICT_PATHCOUNTS_H

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "cpi/walk/walkvisitor.h"

class PathCounts {
 public:
  using Kinds = std::array<std::int64_t, cpi::kVerdictKindCount>;

  // A new message begins.
  void begin() noexcept {
    at_ = &root_;
    depth_ = -1;
  }
  void count(const cpi::WalkedElement& element);
  // A finding that is about no start of an element.
  void count(const cpi::Finding& finding);
  void countMessage(bool isAccepted) noexcept { ++(isAccepted ? accepted_ : refused_); }
  void countUnreadable() noexcept { ++unreadable_; }
  void add(const PathCounts& other);

  // A line for each path that has anything but elements in their places, or as one JSON object of
  // all paths.
  std::string toText() const;
  std::string toJson() const;

 private:
  struct Node {
    std::map<std::string, Node, std::less<>> children;
    Node* parent = nullptr;
    Kinds kinds{};
  };
  // Hostile messages could name any number of paths: what is beyond is counted at the element
  // around it.
  static constexpr std::int64_t kMaxPaths = 100'000;

  Node& childOf(Node& node, std::string_view name);
  void addNode(Node& to, const Node& from);
  template <class Visit>
  static void forEach(const Node& node, const std::string& path, const Visit& visit);

  Node root_;
  Node* at_ = &root_;
  std::int32_t depth_ = -1;
  std::int64_t paths_ = 0;
  std::int64_t accepted_ = 0;
  std::int64_t refused_ = 0;
  std::int64_t unreadable_ = 0;
};

#endif  // TOOLS_STDDICT_PATHCOUNTS_H
