// Whole messages: parsed, and each element placed.
#include "bench/support/messages.h"
#include "cpi/walk/xmlwalker.h"

namespace cpi::bench {
namespace {

const bool kRegistered = registered([] {
  addMessages("stddi", [](const Model& model) {
    return [walker = std::make_shared<XmlWalker>(model.walkModel()), &model] {
      return walker->walkText(model.message(), "message").elements;
    };
  });
});

}  // namespace
}  // namespace cpi::bench
