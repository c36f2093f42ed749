"""The wire's documentation for authors of card agents says what the descriptions say."""

import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[2]
RECORDS = ROOT / "ov_gpon/ov_hal_gpon/records"
PAGES = "".join((ROOT / "docs" / name).read_text() for name in ("wire-records.md", "wire-records-remote.md"))


def described_attributes():
    """{record: [names of the constants, by bit]}"""
    records = {}
    names = None
    for line in (RECORDS / "attributes.def").read_text().splitlines():
        if opened := re.fullmatch(r"HAL_ATTRIBUTES\((\w+)\)", line):
            names = records.setdefault(opened[1], [])
        elif attribute := re.fullmatch(r"HAL_ATTRIBUTE\((\d+), (\w+), \w+\)", line):
            assert int(attribute[1]) == len(names), line
            names.append(attribute[2])
    return records


def documented_attributes():
    """{record: [names as printed, by bit]}"""
    part = PAGES[PAGES.index("## Attribute indexes"):]
    rows = re.findall(r"^\| `(\w+)` \| ([^|]+) \|$", part, re.M)
    return {record: names.split(", ") for record, names in rows if record != "ov_gpon_qinq_attr_t"}


def described_fields():
    """{record: [(offset, field)]}"""
    records = {}
    for path in sorted(RECORDS.glob("*.def")):
        for record, body in re.findall(r"^HAL_RECORD\((\w+), \d+\)(.*?)^HAL_END", path.read_text(), re.M | re.S):
            records[record] = [
                (int(offset), field) for offset, field in re.findall(r"^HAL_FIELD\((\d+), (\w+),", body, re.M)
            ]
    return records


def documented_fields():
    """{record: [(offset or None, field)]}; of fields that stand in one row the first alone has its offset."""
    records = {}
    for record, body in re.findall(r"^\*\*`(\w+)`\*\*,(.*?)(?=^\*\*`|^#|\Z)", PAGES, re.M | re.S):
        fields = records.setdefault(record, [])
        for offset, names in re.findall(r"^\| (\d+)(?: to \d+)? \| [^|]+ \| ([^|]+) \|", body, re.M):
            for number, name in enumerate(re.findall(r"`(\w+)`", names)):
                fields.append((int(offset) if number == 0 else None, name))
    return records


def test_each_bit_of_a_mask_is_documented_under_its_name():
    documented = documented_attributes()
    described = described_attributes()
    assert set(documented) == set(described)
    for record, names in described.items():
        assert len(documented[record]) == len(names), record
        for shown, name in zip(documented[record], names):
            assert name.endswith("_" + shown), (record, shown, name)


def test_each_field_is_documented_at_its_offset():
    documented = documented_fields()
    described = described_fields()
    assert set(documented) == set(described)
    for record, fields in described.items():
        shown = documented[record]
        assert [name for _, name in shown] == [name for _, name in fields], record
        for (place, name), (offset, _) in zip(shown, fields):
            assert place in (None, offset), (record, name)
