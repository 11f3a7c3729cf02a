/// Disables `WriteFile` to measure everything else: the objects of the logger call it through the
/// import pointer that this program defines itself.
#ifndef BENCH_LOG_WRITE_FILE_SWITCH_H
#define BENCH_LOG_WRITE_FILE_SWITCH_H

namespace bench {

/// During its lifetime `WriteFile` succeeds at once and writes nothing.
class NoWriteFile {
  public:
    NoWriteFile();
    ~NoWriteFile();
    NoWriteFile(const NoWriteFile&) = delete;
    NoWriteFile& operator=(const NoWriteFile&) = delete;
};

}  // namespace bench

#endif  // BENCH_LOG_WRITE_FILE_SWITCH_H
