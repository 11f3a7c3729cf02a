#ifndef TARNWICK_SERVICE_ARCHIVE_UNPACK_H
#define TARNWICK_SERVICE_ARCHIVE_UNPACK_H

namespace tarnwick {

/// Calls the controller library's unpack job with only a log sink: no service object, no
/// controller, no COM. Returns when the library does. Its result is ignored; failures show only in
/// lines that it logs.
void UnpackArchive();

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_ARCHIVE_UNPACK_H
