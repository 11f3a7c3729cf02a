#ifndef TARNWICK_SERVICE_ARCHIVE_UNPACK_H
#define TARNWICK_SERVICE_ARCHIVE_UNPACK_H

namespace tarnwick {

/// Hands control to the controller library for its unpack job, with the log sink and nothing else:
/// no service object, no controller, no COM. Comes back when the library does; its result isn't
/// read, and a failure shows only in lines that it logs.
void UnpackArchive();

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_ARCHIVE_UNPACK_H
