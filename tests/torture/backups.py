"""What stands in the backups of a home, as another program would find it there."""
import ctypes
import ctypes.util

from stage import SUITE

_NO_MORE = 1  # ARCHIVE_EOF


def _library():
    library = ctypes.CDLL(ctypes.util.find_library("archive") or "libarchive.so.13")
    library.archive_read_new.restype = ctypes.c_void_p
    for name in ("filter_all", "format_all"):
        getattr(library, f"archive_read_support_{name}").argtypes = [ctypes.c_void_p]
    library.archive_read_open_filename.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_size_t]
    library.archive_read_next_header.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_void_p)]
    library.archive_read_data.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_size_t]
    library.archive_read_data.restype = ctypes.c_ssize_t
    library.archive_read_free.argtypes = [ctypes.c_void_p]
    return library


def members(path):
    """The bytes of each member of an archive; nothing of one that cannot be opened."""
    library = _library()
    archive = library.archive_read_new()
    try:
        library.archive_read_support_filter_all(archive)
        library.archive_read_support_format_all(archive)
        if library.archive_read_open_filename(archive, bytes(path), 65536) != 0:
            return
        entry = ctypes.c_void_p()
        while library.archive_read_next_header(archive, ctypes.byref(entry)) != _NO_MORE:
            buffer = ctypes.create_string_buffer(1 << 20)
            size = library.archive_read_data(archive, buffer, len(buffer))
            if size < 0:
                return
            yield buffer.raw[:size]
    finally:
        library.archive_read_free(archive)


def texts_in_files(folder):
    return [path.read_bytes().decode() for path in folder.rglob("*.ics") if path.is_file()]


def missing_everywhere(home, texts):
    """Those of the texts that stand neither in the store nor in the plug-in's own backup nor in a dated one."""
    found = "".join(texts_in_files(home.path / "Library"))
    missing = [text for text in texts if text not in found]
    for archive in sorted((home.path / SUITE / "Backups").glob("*.tar.zst"), reverse=True) if missing else ():
        found = "".join(member.decode(errors="replace") for member in members(archive))
        missing = [text for text in missing if text not in found]
    return missing
