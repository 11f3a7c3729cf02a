/// Reports whether one object has been deleted.
#ifndef TESTS_FRAMEWORK_SYSTEM_WATCHED_BLOCK_H
#define TESTS_FRAMEWORK_SYSTEM_WATCHED_BLOCK_H

namespace test {

/// Watches this one heap object from now on. Any thread may delete it.
void WatchBlock(const void* block);
[[nodiscard]] bool WatchedBlockIsFreed();

}  // namespace test

#endif  // TESTS_FRAMEWORK_SYSTEM_WATCHED_BLOCK_H
