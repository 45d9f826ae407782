// Making a dictionary ready: by events (and out of tables that
// are sent as events), from an extract, from an image, out of a schema.
#include <sstream>
#include <streambuf>

#include "bench/support/directory.h"
#include "bench/support/eventtape.h"
#include "bench/support/kept.h"
#include "bench/support/loads.h"
#include "cpi/compile/xsdcompiler.h"
#include "cpi/extract/extractreader.h"
#include "cpi/extract/extractwriter.h"
#include "cpi/extract/image.h"

namespace cpi::bench {
namespace {

void addEvents() {
  addLoads("events/stddi", [](const Model& model) {
    return [tape = std::make_shared<EventTape>(model.tables())] {
      StdDictionaryInfo dictionary(0);
      tape->play(dictionary);
    };
  });
  addLoads("events-one-by-one/stddi", [](const Model& model) {
    return [tape = std::make_shared<EventTape>(model.tables())] {
      StdDictionaryInfo dictionary(0);
      tape->play(dictionary, EventTape::Numbers::OneByOne);
    };
  });
  addLoads("tables/stddi", [](const Model& model) {
    return [&tables = model.tables()] {
      StdDictionaryInfo dictionary(0);
      feed(tables, dictionary);
    };
  });
}

// Reads a text where it lies.
class MemoryBuffer : public std::streambuf {
 public:
  explicit MemoryBuffer(const std::string& text) {
    char* const begin = const_cast<char*>(text.data());  // the interface's type; never written to
    setg(begin, begin, begin + text.size());
  }
};

void addExtracts() {
  for (const NamedModel& named : messageModels()) {
    add("load/" + named.name + "/extract/stddi", [of = named.model](benchmark::State& state) {
      const Model& model = of();
      std::ostringstream written;
      writeExtract(model.dictionary(), written);
      const std::string text = written.str();
      measure(state, model.definitions(), [&] {
        MemoryBuffer buffer(text);
        std::istream stream(&buffer);
        StdDictionaryInfo dictionary(0);
        readExtract(stream, "extract", dictionary);
      });
      state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                              static_cast<std::int64_t>(text.size()));
    });
  }
}

const std::vector<unsigned char>& imageOf(const Model& model) {
  return kept(&model, [&] {
    std::vector<unsigned char> image;
    model.dictionary().ToQLBuffer(image);
    return image;
  });
}

void addImages() {
  addLoads("image/stddi", [](const Model& model) {
    return [&image = imageOf(model)] {
      StdDictionaryInfo dictionary(0);
      dictionary.FromQLBuffer(image);
    };
  });
  addLoads("image/stddi-mapped", [](const Model& model) {
    auto directory = std::make_shared<TemporaryDirectory>();
    const std::vector<unsigned char>& image = imageOf(model);
    const std::string path =
        directory->write("image", {reinterpret_cast<const char*>(image.data()), image.size()});
    return [directory, path] { benchmark::DoNotOptimize(mapImage(path).get()); };
  });
  addLoads("image/copy", [](const Model& model) {
    return [&image = imageOf(model)] {
      const std::vector<unsigned char> copy(image);
      benchmark::DoNotOptimize(copy.data());
    };
  });
}

void addCompiles() {
  addLoads("schema/stddi", [](const Model& model) {
    return [&model] {
      XsdReport report;
      benchmark::DoNotOptimize(compileXsd({model.schemaPath()}, {}, report).Tags.size());
    };
  });
}

void addDictionaryMemory() {
  addMemory("stddi", [](const Model& model) {
    return [&model] {
      auto dictionary = std::make_unique<StdDictionaryInfo>(0);
      feed(model.tables(), *dictionary);
      return dictionary;
    };
  });
}

const bool kRegistered = registered([] {
  addEvents();
  addExtracts();
  addImages();
  addCompiles();
  addDictionaryMemory();
});

}  // namespace
}  // namespace cpi::bench
