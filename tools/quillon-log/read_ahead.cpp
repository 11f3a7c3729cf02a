#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "tools/quillon-log/byte_source.h"

namespace quillon_log {
namespace {

class AheadBytes final : public ByteSource {
  public:
    explicit AheadBytes(std::unique_ptr<ByteSource> inner)
        : inner_(std::move(inner)), thread_([this] { Produce(); }) {}

    ~AheadBytes() override {
        {
            const std::lock_guard lock(mutex_);
            isStopped_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }

    std::size_t Read(char* to, std::size_t size) override {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return filled_ > 0 || isDone_; });
        if (filled_ == 0) {
            return 0;
        }
        Block& block = blocks_[first_];
        lock.unlock();
        const std::size_t part = std::min(size, block.size - block.read);
        std::memcpy(to, block.bytes.data() + block.read, part);
        block.read += part;
        if (block.read == block.size) {
            lock.lock();
            first_ = (first_ + 1) % blocks_.size();
            --filled_;
            lock.unlock();
            changed_.notify_all();
        }
        return part;
    }

    /// Of use at the end only: `inner` belongs to the thread until then.
    [[nodiscard]] std::wstring Problem() const override {
        const std::lock_guard lock(mutex_);
        return isDone_ ? inner_->Problem() : std::wstring();
    }

  private:
    struct Block {
        std::vector<char> bytes;
        std::size_t size = 0;
        std::size_t read = 0;
    };

    void Produce() {
        std::unique_lock lock(mutex_);
        while (true) {
            changed_.wait(lock, [this] { return filled_ < blocks_.size() || isStopped_; });
            if (isStopped_) {
                return;
            }
            Block& block = blocks_[(first_ + filled_) % blocks_.size()];
            lock.unlock();
            const std::size_t read = Fill(block);
            lock.lock();
            if (read == 0) {
                isDone_ = true;
                changed_.notify_all();
                return;
            }
            ++filled_;
            changed_.notify_all();
        }
    }

    /// The whole block: each handing over costs a change of threads.
    std::size_t Fill(Block& block) {
        constexpr std::size_t BlockSize = 128 * 1024;
        block.bytes.resize(BlockSize);
        block.read = 0;
        block.size = 0;
        while (block.size < BlockSize) {
            const std::size_t read =
                inner_->Read(block.bytes.data() + block.size, BlockSize - block.size);
            if (read == 0) {
                break;
            }
            block.size += read;
        }
        return block.size;
    }

    std::unique_ptr<ByteSource> inner_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    // Guarded by `mutex_`, but for the blocks' content: a filled block is the reader's, any other
    // the thread's.
    std::array<Block, 4> blocks_;
    std::size_t first_ = 0;
    std::size_t filled_ = 0;
    bool isDone_ = false;
    bool isStopped_ = false;
    std::thread thread_;  // last: it uses all the others
};

}  // namespace

std::unique_ptr<ByteSource> ReadAhead(std::unique_ptr<ByteSource> inner) {
    return std::make_unique<AheadBytes>(std::move(inner));
}

}  // namespace quillon_log
