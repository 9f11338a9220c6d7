"""Amounts as people read them. Pure."""


def size(count: float) -> str:
    """Bytes, such as 16.0 MiB."""
    for unit in ("bytes", "KiB", "MiB"):
        if count < 1024:
            return f"{count:.0f} bytes" if unit == "bytes" else f"{count:.1f} {unit}"
        count /= 1024
    return f"{count:.2f} GiB"


def rate(count: float, seconds: float) -> str:
    """Bytes in a time, such as 11.2 MB/s."""
    return f"{count / seconds / 1e6:.1f} MB/s" if seconds > 0 else "-"


def duration(seconds: float) -> str:
    """Such as 0:04 or 1:02:03."""
    minutes, rest = divmod(int(seconds), 60)
    hours, minutes = divmod(minutes, 60)
    return f"{hours}:{minutes:02}:{rest:02}" if hours else f"{minutes}:{rest:02}"


def displays(count: int) -> str:
    return "1 display" if count == 1 else f"{count} displays"


def printable(text: str) -> str:
    """What displays, sticks and files call themselves is anybody's: none of it may speak to the terminal."""
    return "".join(character if character.isprintable() else "?" for character in text)


def files(count: int) -> str:
    return "1 file" if count == 1 else f"{count} files"


def sum_of(stored: int, everybody: int, failed: int) -> str:
    """How a run stands."""
    text = f"{stored} of {displays(everybody)} stored"
    return f"{text}, {failed} failed" if failed else text
