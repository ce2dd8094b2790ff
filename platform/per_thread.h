// Objects kept per thread, made on a thread's first use and destroyed when
// that thread ends: the scratch buffers and scaler caches the renderer keeps
// between frames on each of MLT's threads.
//
// These are deliberately not `thread_local` objects with a destructor. With
// MinGW-w64, a thread_local lives in storage that the runtime releases at
// thread end before the object's destructor runs (the order of the two
// cleanups is unspecified there), so the destructor works on freed memory:
// the Windows program crashed now and then as MLT's read-ahead thread ended
// at the close of an export, inside the scaler cache's destructor. Here the
// object lives on the heap; its thread keeps only a pointer (a thread_local
// without a destructor), and a pthread key's destructor, which is handed the
// pointer itself, deletes it. The same code runs on Linux.
//
//   std::vector<float>& border = platform::PerThread<std::vector<float>>([] {});
//
// The argument is an empty lambda: its type differs at each place it is
// written, so two places that keep the same type get two objects.
#pragma once

#include <pthread.h>

namespace platform {

namespace per_thread_detail {

/// A pthread key whose destructor deletes the thread's T. Made once per
/// place (a function-local static); deleted with the library, after which
/// the objects of threads still running are no longer destroyed.
template <typename T> class Key {
public:
  Key() : made_(pthread_key_create(&key_, [](void* object) { delete static_cast<T*>(object); }) == 0) {}
  ~Key() {
    if (made_) pthread_key_delete(key_);
  }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;

  /// Hands `object` to the key, so that it is deleted at its thread's end.
  void Adopt(T* object) const {
    if (made_) pthread_setspecific(key_, object);
  }

private:
  pthread_key_t key_{};
  bool made_;
};

} // namespace per_thread_detail

/// The calling thread's T of the place that names `Place` (an empty lambda
/// written there), value-initialised on the thread's first call. Without a
/// pthread key (the system's are used up) the object is kept all the same
/// and not destroyed at the thread's end.
template <typename T, typename Place> T& PerThread(Place) {
  static const per_thread_detail::Key<T> key;
  thread_local T* mine = nullptr;
  if (!mine) {
    mine = new T();
    key.Adopt(mine);
  }
  return *mine;
}

} // namespace platform
