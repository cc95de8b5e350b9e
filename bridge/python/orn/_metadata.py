"""The metadata text of a MAT file."""

import re
from dataclasses import dataclass, field
from typing import Any
from xml.parsers import expat

# What the metadata may say of a capture: the name of each field, which is
# its tag in the file too, and its kind.
FIELDS = {
    "sensor_width": "integer",
    "sensor_height": "integer",
    "left_margin": "integer",
    "top_margin": "integer",
    "black_levels": "list",
    "white_level": "number",
    "white_balance": "list",
    "color_matrix": "matrix",
    "camera_make": "text",
    "camera_model": "text",
    "exposure_time": "number",
    "aperture": "number",
    "iso": "number",
    "focal_length": "number",
    "capture_time": "text",
    "orientation": "integer",
}

_COMMON_CLASS = "ep::CxCommonImageMetadata"
_STORAGE_CLASS = "orn::matlab::CxMatlabImageMetadata"
_TAG = re.compile(rb"""<(?:[^<>"']|"[^"]*"|'[^']*')*>""")


def unknown(kind: str) -> Any:
    """The value of a field of that kind that is not known."""
    if kind == "text":
        return ""
    return [] if kind in ("list", "matrix") else None


def _nothing_known() -> dict[str, Any]:
    return {name: unknown(kind) for name, kind in FIELDS.items()}


@dataclass
class Metadata:
    """What a file says of its image. The fields are those of FIELDS."""

    bayer_grid: int = 4
    layout: int = 0
    pattern_width: int = 0
    pattern_height: int = 0
    color_bit_depth: int = 0
    pattern_colors: str = ""
    reverse_rows: bool = False
    orig_channels: int = 0
    saved_channels: int = 0
    fields: dict[str, Any] = field(default_factory=_nothing_known)
    attributes: dict[str, str] = field(default_factory=dict)
    other_items: str = ""


@dataclass
class _Child:
    tag: str
    name: str  # its attribute "name"
    text: str = ""


@dataclass
class _Item:
    class_name: str
    start: int
    xml: str = ""
    children: list[_Child] = field(default_factory=list)

    def text(self, tag: str) -> str:
        texts = (child.text for child in self.children if child.tag == tag)
        return next(texts, "")

    def integer(self, tag: str, default: int = 0) -> int:
        try:
            return int(self.text(tag))
        except ValueError:
            return default


class _ItemParser:
    """Collects the elements below the root.

    Prefixes are taken as they stand, as orn does.
    """

    def __init__(self, xml: str) -> None:
        self.items: list[_Item] = []
        self._xml = xml.encode()
        self._depth = 0
        self._parser = expat.ParserCreate("utf-8")
        self._parser.StartElementHandler = self._start
        self._parser.EndElementHandler = self._end
        self._parser.CharacterDataHandler = self._text
        self._parser.StartDoctypeDeclHandler = self._refuse_document_type
        self._parser.Parse(self._xml, True)

    def _start(self, tag: str, attributes: dict[str, str]) -> None:
        self._depth += 1
        if self._depth == 1 and tag != "metadata":
            raise ValueError("it is no metadata of orn")
        if self._depth == 2:
            start = self._parser.CurrentByteIndex
            self.items.append(_Item(attributes.get("class", ""), start))
        elif self._depth == 3:
            child = _Child(tag, attributes.get("name", ""))
            self.items[-1].children.append(child)

    def _end(self, _tag: str) -> None:
        if self._depth == 2:
            item = self.items[-1]
            tag = _TAG.match(self._xml, self._parser.CurrentByteIndex)
            assert tag
            item.xml = self._xml[item.start:tag.end()].decode()
        self._depth -= 1

    def _text(self, text: str) -> None:
        if self._depth == 3:
            self.items[-1].children[-1].text += text

    def _refuse_document_type(self, *_arguments: Any) -> None:
        raise ValueError("it has a document type declaration")


def parse(xml: str) -> Metadata:
    """Reads a metadata text; ValueError when it is none."""
    metadata = Metadata()
    common = storage = None
    try:
        items = _ItemParser(xml).items
    except expat.ExpatError as error:
        raise ValueError(str(error)) from error
    for item in items:
        if item.class_name == _COMMON_CLASS and not common:
            common = item
        elif item.class_name == _STORAGE_CLASS and not storage:
            storage = item
        else:
            metadata.other_items += item.xml
    if common:
        _read_common(common, metadata)
    if storage:
        reverse = storage.text("reverse_rows").strip().lower()
        metadata.reverse_rows = reverse == "true"
        metadata.orig_channels = storage.integer("orig_channels")
        metadata.saved_channels = storage.integer("saved_channels")
    return metadata


def _read_common(item: _Item, metadata: Metadata) -> None:
    metadata.bayer_grid = item.integer("bayer_grid", metadata.bayer_grid)
    metadata.layout = item.integer("layout")
    metadata.pattern_width = item.integer("pattern_width")
    metadata.pattern_height = item.integer("pattern_height")
    metadata.color_bit_depth = item.integer("color_bit_depth")
    metadata.pattern_colors = item.text("pattern_colors")
    for name, kind in FIELDS.items():
        metadata.fields[name] = _value(item.text(name), kind)
    for child in item.children:
        if child.tag == "attribute":
            metadata.attributes[child.name] = child.text


def _value(text: str, kind: str) -> Any:
    if kind == "text":
        return text
    try:
        if kind == "integer":
            return int(text)
        if kind == "number":
            return float(text)
        values = [float(word) for word in text.split()]
    except ValueError:
        return unknown(kind)
    if kind == "matrix" and len(values) == 9:
        return [values[:3], values[3:6], values[6:]]
    return values


def to_xml(metadata: Metadata) -> str:
    """The metadata text.

    It is pure ASCII: other programs cut or refuse text of several bytes a
    character.
    """
    parts = [f'<metadata><item class="{_COMMON_CLASS}">']
    for name in (
        "bayer_grid",
        "layout",
        "pattern_width",
        "pattern_height",
        "color_bit_depth",
        "pattern_colors",
    ):
        parts.append(_element(name, getattr(metadata, name)))
    for name in FIELDS:
        parts.append(_element(name, metadata.fields[name]))
    for name, text in metadata.attributes.items():
        name = _escape(name)
        parts.append(f'<attribute name="{name}">{_escape(text)}</attribute>')
    parts.append(f'</item><item class="{_STORAGE_CLASS}">')
    reverse_rows = "true" if metadata.reverse_rows else "false"
    parts.append(_element("reverse_rows", reverse_rows))
    parts.append(_element("orig_channels", metadata.orig_channels))
    parts.append(_element("saved_channels", metadata.saved_channels))
    parts.append(f"</item>{metadata.other_items}</metadata>")
    return "".join(parts)


def _element(tag: str, value: Any) -> str:
    text = _text(value)
    return f"<{tag}>{_escape(text)}</{tag}>" if text else ""


def _text(value: Any) -> str:
    if value is None:
        return ""
    if isinstance(value, list):
        return " ".join(_text(part) for part in value)
    return str(value)


def _escape(text: str) -> str:
    return "".join(
        c if " " <= c <= "~" and c not in "&<>\"'" else f"&#{_held_code(c)};"
        for c in text
    )


def _held_code(character: str) -> int:
    """The code of a character; U+FFFD for one that XML cannot hold."""
    code = ord(character)
    if code < 32:
        is_held = code in (9, 10, 13)
    else:
        is_held = not 0xD800 <= code < 0xE000 and code not in (0xFFFE, 0xFFFF)
    return code if is_held else 0xFFFD
