"""Makes the peer's template from the program's own: the same page with tags in its boxes."""

import pathlib
import xml.etree.ElementTree as ElementTree
import zipfile

PREFIXES = {
    "w": "http://schemas.openxmlformats.org/wordprocessingml/2006/main",
    "wp": "http://schemas.openxmlformats.org/drawingml/2006/wordprocessingDrawing",
    "a": "http://schemas.openxmlformats.org/drawingml/2006/main",
    "mc": "http://schemas.openxmlformats.org/markup-compatibility/2006",
    "wpg": "http://schemas.microsoft.com/office/word/2010/wordprocessingGroup",
    "wps": "http://schemas.microsoft.com/office/word/2010/wordprocessingShape",
}
ADDRESS_COLUMN_X = 500_000


def qualified(name):
    prefix, local = name.split(":")
    return f"{{{PREFIXES[prefix]}}}{local}"


def paragraph(tag, half_points="16", bold=False):
    weight = "<w:b/><w:bCs/>" if bold else ""
    return ElementTree.fromstring(
        f'<w:p xmlns:w="{PREFIXES["w"]}"><w:pPr><w:spacing w:after="0" w:line="240" w:lineRule="auto"/></w:pPr>'
        f'<w:r><w:rPr><w:rFonts w:ascii="Arial" w:hAnsi="Arial" w:cs="Arial"/>{weight}'
        f'<w:sz w:val="{half_points}"/><w:szCs w:val="{half_points}"/><w:lang w:val="pl-PL"/></w:rPr>'
        f"<w:t>{tag}</w:t></w:r></w:p>"
    )


def put_tag(shape, tag, **format):
    content = shape.find(f'{qualified("wps:txbx")}/{qualified("w:txbxContent")}')
    content[:] = [paragraph(tag, **format)]


def offset(shape, axis):
    return int(shape.find(f'{qualified("wps:spPr")}/{qualified("a:xfrm")}/{qualified("a:off")}').get(axis))


def tagged(document_xml):
    root = ElementTree.fromstring(document_xml)
    body = root.find(qualified("w:body"))

    groups = root.iter(qualified("wpg:wgp"))
    grid = next(shapes for group in groups if len(shapes := list(group.iter(qualified("wps:wsp")))) == 20)
    for column, is_address in (("name", False), ("address", True)):
        boxes = [shape for shape in grid if (offset(shape, "x") >= ADDRESS_COLUMN_X) == is_address]
        for row, box in enumerate(sorted(boxes, key=lambda shape: offset(shape, "y"))):
            put_tag(box, f"{{{column}{row}}}")

    free = [shape for shape in root.iter(qualified("wps:wsp"))
            if shape not in grid and shape.find(qualified("wps:txbx")) is not None]
    sender_name, sender_address, page_number = free
    put_tag(sender_name, "{senderName}", half_points="18", bold=True)
    put_tag(sender_address, "{senderAddress}", half_points="18", bold=True)
    put_tag(page_number, "{number}")

    # On the first page the break has no effect.
    ElementTree.SubElement(body.find(f'{qualified("w:p")}/{qualified("w:pPr")}'), qualified("w:pageBreakBefore"))
    body.insert(0, paragraph("{#pages}"))
    body.insert(len(body) - 1, paragraph("{/pages}"))  # before the section's properties
    return ElementTree.tostring(root, encoding="UTF-8", xml_declaration=True)


def make(template_folder, output):
    """Packs the parts below `template_folder` as the peer's template, a document, into `output`."""
    for prefix, namespace in PREFIXES.items():
        ElementTree.register_namespace(prefix, namespace)
    folder = pathlib.Path(template_folder)
    with zipfile.ZipFile(output, "w", zipfile.ZIP_STORED) as archive:
        for part in sorted(path for path in folder.rglob("*") if path.is_file() and path.name != "README.md"):
            contents = part.read_bytes()
            if part.name == "document.xml":
                contents = tagged(contents)
            elif part.name == "[Content_Types].xml":
                contents = contents.replace(b"template.main+xml", b"document.main+xml")
            archive.writestr(part.relative_to(folder).as_posix(), contents)
