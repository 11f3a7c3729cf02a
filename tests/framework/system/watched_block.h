/// Tells whether one object has been deleted.
#ifndef TESTS_FRAMEWORK_SYSTEM_WATCHED_BLOCK_H
#define TESTS_FRAMEWORK_SYSTEM_WATCHED_BLOCK_H

namespace test {

/// From now on this one object of the heap is watched. Any thread may delete it.
void WatchBlock(const void* block);
[[nodiscard]] bool WatchedBlockIsFreed();

}  // namespace test

#endif  // TESTS_FRAMEWORK_SYSTEM_WATCHED_BLOCK_H
