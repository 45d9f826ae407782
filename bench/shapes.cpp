// Walks along models that show one trait each: what an element costs in groups, in unordered types,
// when it repeats, and when the model does not define it.
#include <algorithm>
#include <functional>

#include "bench/support/kept.h"
#include "bench/support/replay.h"
#include "bench/support/shape.h"

namespace cpi::bench {
namespace {

constexpr int kRounds = 200;

std::vector<Visit> repeated(const std::vector<Visit>& part) {
  std::vector<Visit> message;
  for (int i = 0; i < kRounds; ++i) message.insert(message.end(), part.begin(), part.end());
  return message;
}

// Groups within groups, each with an element that is left out, the searched one innermost.
Shape nestedGroups() {
  return makeShape(test::parseModel("r(6 item(6 a{0,1} (6 b{0,1} (6 c{0,1} (6 d{0,1} (6 e{0,1} "
                                    "(6 f{0,1} (6 g{0,1} (6 h i)))))))){0,*})"),
                   repeated({{1, "item"}, {2, "h"}, {2, "i"}}));
}

// A group that repeats: each round climbs out of it and enters it again.
Shape repeatedGroup() {
  return makeShape(test::parseModel("r(6 head{0,1} (6 a b c{0,1} d){0,*})"),
                   repeated({{1, "a"}, {1, "b"}, {1, "d"}}));
}

test::Node textNode(const std::string& name) { return {.name = name, .min = 0}; }

Shape unordered() {
  test::Node item{.name = "item", .min = 0, .max = -1, .composition = TYPE_UNORDERED};
  std::vector<Visit> part = {{1, "item"}};
  for (int i = 0; i < 32; ++i) {
    const std::string name = "field" + std::to_string(i * 11 % 32);
    item.members.push_back(textNode("field" + std::to_string(i)));
    part.push_back({2, name});
  }
  test::Node root{.name = "r", .composition = TYPE_ORDERED, .members = {item}};
  return makeShape(root, repeated(part));
}

Shape repeats() {
  return makeShape(test::parseModel("r(6 head{0,1} entry{0,*} tail{0,1})"),
                   repeated({{1, "entry"}, {1, "entry"}, {1, "entry"}}));
}

// Elements that are members elsewhere or tags only, and such as the dictionary does not know.
Shape undefinedTags() {
  return makeShape(test::parseModel("r(6! item(6! a{0,1} b{0,1} c{0,1}){0,*})"),
                   repeated({{1, "item"}, {2, "a"}, {2, "elsewhere"}, {2, "c"}}));
}
Shape undefinedNames() {
  return makeShape(test::parseModel("r(6! item(6! a{0,1} b{0,1} c{0,1}){0,*})"),
                   repeated({{1, "item"}, {2, "a"}, {2, "nowhere"}, {2, "c"}}));
}

template <class By>
void addShape(const std::string& name, const std::string& way, Shape (*make)()) {
  add("shape/" + name + "/" + way + "/stddi", [=](benchmark::State& state) {
    const Shape& shape = kept(name, make);
    replay<By>(state, *shape.dictionary, shape.steps);
  });
}

const bool kRegistered = registered([] {
  const std::pair<const char*, Shape (*)()> shapes[] = {{"nested-groups", nestedGroups},
                                                        {"repeated-group", repeatedGroup},
                                                        {"unordered", unordered},
                                                        {"repeats", repeats},
                                                        {"undefined-tag", undefinedTags}};
  for (const auto& [name, make] : shapes) {
    addShape<ByTagId>(name, "id", make);
    addShape<ByName>(name, "name", make);
  }
  addShape<ByName>("undefined-name", "name", undefinedNames);
});

}  // namespace
}  // namespace cpi::bench
