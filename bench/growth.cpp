// What one item costs as something doubles: "growth/<what doubles>/<its size>/stddi".
#include <map>

#include "bench/support/eventtape.h"
#include "bench/support/kept.h"
#include "bench/support/lookups.h"
#include "bench/support/replay.h"
#include "bench/support/shape.h"
#include "cpi/walk/xmlwalker.h"

namespace cpi::bench {
namespace {

constexpr int kElements = 2'000;  // of a message, at least

std::string nameOf(const char* name, int number) { return name + std::to_string(number); }

test::Node itemNode(std::vector<test::Node> members) {
  test::Node item{.name = "item",
                  .min = 0,
                  .max = -1,
                  .composition = TYPE_ORDERED,
                  .members = std::move(members)};
  return {.name = "r", .composition = TYPE_ORDERED, .members = {item}};
}

template <class Part>
std::vector<Visit> messageOf(Part part) {
  std::vector<Visit> message;
  for (int i = 0; message.size() < kElements; ++i) part(message, i);
  return message;
}

// The first and the last of many siblings in order.
Shape orderedSiblings(int size) {
  std::vector<test::Node> members;
  for (int i = 0; i < size; ++i) members.push_back({.name = nameOf("m", i), .min = 0});
  return makeShape(itemNode(members), messageOf([&](std::vector<Visit>& message, int) {
                     message.push_back({1, "item"});
                     message.push_back({2, "m0"});
                     message.push_back({2, nameOf("m", size - 1)});
                   }));
}

// Any of many alternatives.
Shape alternatives(int size) {
  test::Node choice{.name = "", .max = -1, .composition = TYPE_CHOICE};
  for (int i = 0; i < size; ++i) choice.members.push_back({.name = nameOf("m", i)});
  return makeShape({.name = "r", .composition = TYPE_ORDERED, .members = {choice}},
                   messageOf([&](std::vector<Visit>& message, int i) {
                     message.push_back({1, nameOf("m", i * 7919 % size)});
                   }));
}

// Many members in any order.
Shape unorderedSiblings(int size) {
  test::Node root{.name = "r", .composition = TYPE_UNORDERED};
  for (int i = 0; i < size; ++i) {
    root.members.push_back({.name = nameOf("m", i), .min = 0, .max = -1});
  }
  return makeShape(root, messageOf([&](std::vector<Visit>& message, int i) {
                     message.push_back({1, nameOf("m", i * 7919 % size)});
                   }));
}

// Elements within elements, down to the innermost and up again.
Shape nestedElements(int size) {
  test::Node node{.name = nameOf("m", size)};
  for (int i = size - 1; i > 0; --i) {
    node = {.name = nameOf("m", i), .composition = TYPE_ORDERED, .members = {std::move(node)}};
  }
  node.min = 0;
  node.max = -1;
  return makeShape({.name = "r", .composition = TYPE_ORDERED, .members = {node}},
                   messageOf([&](std::vector<Visit>& message, int) {
                     for (int i = 1; i <= size; ++i) message.push_back({i, nameOf("m", i)});
                   }));
}

// Groups within groups, the element in the innermost.
Shape nestedGroups(int size) {
  test::Node node{.name = "inmost"};
  for (int i = 0; i < size; ++i) {
    node = {.name = "",
            .composition = TYPE_ORDERED,
            .members = {{.name = nameOf("m", i), .min = 0}, std::move(node)}};
  }
  return makeShape(itemNode({node}), messageOf([](std::vector<Visit>& message, int) {
                     message.push_back({1, "item"});
                     message.push_back({2, "inmost"});
                   }));
}

// One member, again and again.
Shape occurrences(int size) {
  return makeShape(test::parseModel("r(6 a{0,1} entry{0,*} z{0,1})"),
                   std::vector<Visit>(static_cast<std::size_t>(size), {1, "entry"}));
}

template <class By>
void addShapes(const std::string& what, const char* way, int first, int last, Shape (*make)(int)) {
  for (int size = first; size <= last; size *= 2) {
    add("growth/" + what + ", " + way + "/" + std::to_string(size) + "/stddi",
        [=](benchmark::State& state) {
          const Shape& shape = kept(std::pair(what, size), [=] { return make(size); });
          replay<By>(state, *shape.dictionary, shape.steps);
        });
  }
}

void addShapes(const std::string& what, int first, int last, Shape (*make)(int)) {
  addShapes<ByTagId>(what, "by tag id", first, last, make);
  addShapes<ByName>(what, "by name", first, last, make);
}

void addRows() {
  for (std::int32_t rows = 1024; rows <= 1 << 20; rows *= 2) {
    const std::string end = "/" + std::to_string(rows) + "/stddi";
    add("growth/rows, look-up by id" + end, [=](benchmark::State& state) {
      const StdDictionaryInfo& dictionary = idDictionary(IdKind::Sparse, rows);
      const IdQuestions& questions = idQuestions(IdKind::Sparse, rows);
      askAll(state, questions.hits, questions.hit,
             [&](std::int32_t id) { return dictionary.getTagDefIndex(id); });
    });
    add("growth/rows, look-up by name" + end, [=](benchmark::State& state) {
      const StdDictionaryInfo& dictionary = nameDictionary(rows);
      const NameQuestions& questions = nameQuestions(rows);
      askAll(state, questions.hits, questions.hit,
             [&](const unsigned short* name) { return dictionary.getTagDefIndexFromName(name); });
    });
    if (rows > 1 << 18) continue;  // nothing new, and slow
    add("growth/rows, load by events" + end, [=](benchmark::State& state) {
      const DictionaryTables& tables = kept(rows, [=] { return tablesOf(nameDictionary(rows)); });
      const auto& tape = kept(rows, [&] { return std::make_unique<EventTape>(tables); });
      measure(state, rows, [&] {
        StdDictionaryInfo dictionary(0);
        tape->play(dictionary);
      });
    });
  }
}

void addMessages() {
  for (std::size_t elements = 1024; elements <= 1 << 16; elements *= 2) {
    const std::string size = std::to_string(elements);
    add("growth/message length, parse and place/" + size + "/stddi", [=](benchmark::State& state) {
      const Model& model =
          *kept(elements, [=] { return std::make_unique<const Model>(narrowPlan(), elements); });
      XmlWalker walker(model.walkModel());
      measure(state, model.elements(), [&] {
        benchmark::DoNotOptimize(walker.walkText(model.message(), "message").elements);
      });
    });
  }
}

const bool kRegistered = registered([] {
  addRows();
  addShapes("siblings in order", 8, 8192, orderedSiblings);
  addShapes<ByMemberId>("siblings in order", "by member id", 8, 8192, orderedSiblings);
  addShapes("alternatives", 8, 8192, alternatives);
  addShapes("unordered siblings", 8, 8192, unorderedSiblings);
  addShapes("depth of elements", 2, 128, nestedElements);
  addShapes("depth of groups", 2, 32, nestedGroups);
  addShapes("occurrences", 64, 16384, occurrences);
  addMessages();
});

}  // namespace
}  // namespace cpi::bench
