"""Characters: shapes and clusters, and what drives them."""

from __future__ import annotations

from typing import Optional, Sequence, Tuple, Union

from ._calls import (Errors, Owner, Path, created, decoded, encoded, encoded_list, encoded_path, names_of, notes,
                     taken_text)
from ._library import lib
from .errors import Note
from .performer import JsonSource, built_in, json_bytes


class Character(Owner):
    """A character's shapes and clusters of bones, and what the templates of the face do to them."""

    @staticmethod
    def load(name_or_path: Path) -> Character:
        """A built-in character (see `characters`) or a character file. Raises `FileError`, `InputError`."""
        errors = Errors()
        return _character(errors, lib.character_load(encoded_path(name_or_path, "character"), errors))

    @staticmethod
    def from_json(source: JsonSource, *, name: str = "character") -> Character:
        """The content of a character file. `name` is its name in messages. Raises `InputError`."""
        text, errors = json_bytes(source), Errors()
        return _character(errors, lib.character_from_json(text, len(text), encoded(name, "name"), errors))

    @staticmethod
    def from_head(path: Path, *, name: Optional[str] = None) -> Character:
        """Makes a first character for a head (.glb) from the names of its morph targets, as
        ``mien character from-glb`` does. `name` is the character's; the default is the file's. Raises
        `FileError`, `InputError`.
        """
        errors = Errors()
        return _character(errors, lib.character_from_head(
            encoded_path(path), None if name is None else encoded(name, "name"), errors))

    @staticmethod
    def from_shapes(shapes: Sequence[str], *, name: str) -> Character:
        """Makes a first character for shapes with these names. Raises `InputError` if none of them is known."""
        names, errors = encoded_list(shapes, "shapes"), Errors()
        return _character(errors, lib.character_from_shapes(names, len(names), encoded(name, "name"), errors))

    @property
    def name(self) -> str:
        """The character's name."""
        handle = self._open
        return decoded(lib.character_name(handle))

    @property
    def shapes(self) -> Tuple[str, ...]:
        """The names of its shapes, in the order of `Animation.shapes`."""
        handle = self._open
        return names_of(lib.character_shape_count(handle), lambda i: lib.character_shape(handle, i))

    @property
    def notes(self) -> Tuple[Note, ...]:
        """Notes from reading or making it, such as shapes that nothing drives."""
        handle = self._open
        return notes(lib.character_notes(handle))

    def to_json(self) -> str:
        """The text of a character file."""
        handle, errors = self._open, Errors()
        return taken_text(created(errors, lib.character_to_json(handle, errors))).decode("utf-8")

    def __repr__(self) -> str:
        if self.closed:
            return "<mien.Character, closed>"
        return f'<mien.Character "{self.name}": {len(self.shapes)} shapes>'


def characters() -> Tuple[str, ...]:
    """The names of the built-in characters."""
    return built_in(lib.character_built_in)


def character_of(character: Union[None, Character, Path]) -> Optional[Character]:
    if character is None or isinstance(character, Character):
        return character
    return Character.load(character)


def _character(errors: Errors, pointer: Optional[int]) -> Character:
    return Character()._adopt(created(errors, pointer), lib.character_free)
