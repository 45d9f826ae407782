#include "cpi/compile/deepstack.h"

#include <pthread.h>

#include <exception>
#include <new>

namespace cpi {

namespace {

struct Call {
  const std::function<void()>* work;
  std::exception_ptr error = nullptr;
};

void* run(void* argument) {
  Call& call = *static_cast<Call*>(argument);
  try {
    (*call.work)();
  } catch (...) {
    call.error = std::current_exception();
  }
  return nullptr;
}

}  // namespace

void runOnStack(std::size_t bytes, const std::function<void()>& work) {
  Call call{&work};
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) throw std::bad_alloc();
  pthread_t thread;
  const bool isStarted = pthread_attr_setstacksize(&attributes, bytes) == 0 &&
                         pthread_create(&thread, &attributes, &run, &call) == 0;
  pthread_attr_destroy(&attributes);
  if (!isStarted) throw std::bad_alloc();
  pthread_join(thread, nullptr);
  if (call.error) std::rethrow_exception(call.error);
}

}  // namespace cpi
