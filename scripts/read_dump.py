"""Runs in LLDB for scripts/read-dump.sh: prints the exception and the stacks of a dump."""

import os
import struct
import sys
from pathlib import Path

import lldb

sys.path.insert(0, os.path.dirname(__file__))
from pe_image import Image  # noqa: E402

SOURCE_FOLDER = "C:/tarnwick-service/"  # what cmake/same_bytes.cmake calls it
EXCEPTIONS = {0xC0000005: "access violation", 0xC0000094: "integer division by zero",
              0xC000001D: "illegal instruction", 0x80000003: "breakpoint",
              0xC0000374: "heap corruption", 0xC00000FD: "stack overflow",
              0x20474343: "C++ exception (MinGW)", 0xE06D7363: "C++ exception (Visual C++)"}
ACCESSES = {0: "reading", 1: "writing", 8: "executing"}

# ---- the dump itself -------------------------------------------------------------------------------


class Dump:
    """What the dump tells of the exception and of the modules."""

    def __init__(self, path):
        self.bytes = Path(path).read_bytes()
        count, directory = self._read("<II", 8)
        streams = (self._read("<III", directory + 12 * index) for index in range(count))
        self._streams = {kind: offset for kind, _, offset in streams}

    def _read(self, form, offset):
        return struct.unpack_from(form, self.bytes, offset)

    def exception(self):
        if 6 not in self._streams:
            return "none: the dump is not of a crash"
        code, _, _, address, count = self._read("<IIQQI", self._streams[6] + 8)
        text = f"{code:#010x} {EXCEPTIONS.get(code, '')}".rstrip()
        if code == 0xC0000005 and count >= 2:
            kind, target = self._read("<QQ", self._streams[6] + 40)
            text += f" {ACCESSES.get(kind, 'at')} {target:#x}"
        return f"{text}, instruction {address:#x}"

    def modules(self):
        """(name, timestamp, size of the image) of each."""
        start = self._streams[4]
        for index in range(self._read("<I", start)[0]):
            _, size, _, timestamp, name = self._read("<QIIII", start + 4 + 108 * index)
            length = self._read("<I", name)[0]
            path = self.bytes[name + 4:name + 4 + length].decode("utf-16-le")
            yield path.replace("\\", "/").rsplit("/", 1)[-1], timestamp, size


def find_modules(dump, roots, folder):
    """Links the files of the dump's very modules into the folder. Returns the names of those that
    are there from another build only, and of those that aren't there at all."""
    files = {}
    for root in roots:
        for path in sorted(Path(root).rglob("*")):
            files.setdefault(path.name.lower(), []).append(path)
    other, missing = [], []
    for name, timestamp, size in dump.modules():
        candidates = [path for path in files.get(name.lower(), []) if path.is_file()]
        right = [path for path in candidates
                 if (Image(path).timestamp, Image(path).size) == (timestamp, size)]
        if right:
            Path(folder, name).symlink_to(right[0])
        else:
            (other if candidates else missing).append(name)
    return other, missing


# ---- in LLDB ---------------------------------------------------------------------------------------


def load(roots, folder):
    """The target and the process of the dump, with the PDBs that belong to the modules."""
    debugger = lldb.debugger
    debugger.HandleCommand(f'settings set target.exec-search-paths "{folder}"')
    target = debugger.CreateTarget("")
    debugger.SetSelectedTarget(target)
    error = lldb.SBError()
    process = target.LoadCore(os.environ["READ_DUMP_FILE"], error)
    if error.Fail() or not process.IsValid():
        raise RuntimeError(f"LLDB doesn't read the dump: {error}")
    for pdb in sorted(path for root in roots for path in Path(root).rglob("*.pdb")):
        # Refused, which is no harm, if it isn't the one of a module of the dump.
        result = lldb.SBCommandReturnObject()
        debugger.GetCommandInterpreter().HandleCommand(f'target symbols add "{pdb}"', result)
    return target, process


def is_there(module):
    """False for a module that only the dump tells of."""
    return Path(str(module.file)).is_file()


def place(entry):
    path = str(entry.file).replace("\\", "/")
    return f"{path.removeprefix(SOURCE_FOLDER)}:{entry.line}"


def frame_text(frame):
    module = frame.module
    if not module.IsValid():
        return f"not known: {frame.pc:#x}, in no module"
    name = module.file.basename
    if not is_there(module):
        return f"not known, in {name}"
    entry = frame.line_entry
    function = frame.GetFunctionName()
    if entry.IsValid() and entry.line:
        return f"{function} at {place(entry)}"
    return f"{function}, line not known, in {name}" if function else f"not known, in {name}"


def show_thread(thread, crashed):
    print(f"Thread {thread.GetThreadID()}{', crashed' if crashed else ''}")
    frames = list(thread)
    for frame, caller in zip(frames, frames[1:] + [None]):
        print(f"  {frame.idx:2} {frame_text(frame)}")
        if not frame.module.IsValid() or is_there(frame.module):
            continue
        name = frame.module.file.basename
        if caller is None:
            print(f"     Goes on, but can't be followed without {name}.")
        elif caller.module != frame.module:
            # The debugger went on by the frame pointer, past callers that use none.
            print(f"     Callers that can't be followed without {name} may be missing here.")
    print()


def show_names(title, names):
    if names:
        print(f"{title}: {', '.join(names)}")


def main():
    roots = os.environ["READ_DUMP_SYMBOLS"].splitlines()
    folder = os.environ["READ_DUMP_MODULES"]
    dump = Dump(os.environ["READ_DUMP_FILE"])
    other, missing = find_modules(dump, [*roots, os.environ["READ_DUMP_SYSTEM"]], folder)
    _, process = load(roots, folder)
    print("Exception:", dump.exception())
    show_names("Given from another build only", other)
    show_names("Not given", missing)
    print()
    threads = list(process)
    crashed = [thread for thread in threads
               if thread.GetStopReason() == lldb.eStopReasonException]
    for thread in crashed + [thread for thread in threads if thread not in crashed]:
        show_thread(thread, thread in crashed)
    print("End of the dump")


def __lldb_init_module(_debugger, _names):
    main()
