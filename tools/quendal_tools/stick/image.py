"""A technician's stick for an emulated board: an image file, and all that lies on it at once."""

import pathlib
from collections.abc import Iterator, Mapping

from quendal_tools.stick import media

# Contents of files by their path on the stick; None stands for a folder.
Content = Mapping[str, bytes | None]


class StickImage:
    """An image of a stick; its content is {"KVCFG/1.2.3/a.zip": bytes, "KVLOG": None} with None for a folder."""

    def __init__(self, path: str | pathlib.Path) -> None:
        self.path = pathlib.Path(path)

    @classmethod
    def create(cls, path: str | pathlib.Path, content: Content, *, mebibytes: int = 48,
               partitioned: bool = True) -> "StickImage":
        """Makes the image of a stick with that content."""
        stick = media.new_image(path, mebibytes, partitioned)
        folders = {name for name, data in content.items() if data is None}
        for name in content:
            folders.update(str(parent) for parent in pathlib.PurePath(name).parents if parent.name)
        for name in sorted(folders):
            stick.make_folder(name)
        for name, data in content.items():
            if data is not None:
                stick.write(name, data)
        return cls(path)

    def content(self) -> dict[str, bytes | None]:
        """Everything that lies on the stick now, in the form that create takes."""
        return dict(sorted(_below(media.existing(self.path), "")))

    def listing(self) -> str:
        """The names of everything that lies on the stick now, each with its size, as lines."""
        return "".join(f"{name} {'(folder)' if data is None else len(data)}\n" for name, data in self.content().items())


def _below(stick: media.Stick, folder: str) -> Iterator[tuple[str, bytes | None]]:
    for name, is_folder in stick.entries(folder):
        path = f"{folder}/{name}".lstrip("/")
        yield path, None if is_folder else stick.read(path)
        if is_folder:
            yield from _below(stick, path)
