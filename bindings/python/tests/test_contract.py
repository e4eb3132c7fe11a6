"""Compares the tables of the package with the list of the binary contract."""

import ctypes
import json
import re
from pathlib import Path

from imagefile import _contract, _errors, _model

PROJECT = Path(__file__).parents[3]


def rows(kind: str) -> list[list[str]]:
    text = (PROJECT / "tests/imagefile/contract.inc").read_text()
    return [re.split(r",\s+", row) for row in re.findall(rf"^{kind}\(([^)]*)\)$", text, re.MULTILINE)]


def offsets() -> list[list[str]]:
    """Returns rows of OFFSET, also for fields that OFFSETS lists at equal distances."""
    single = rows("OFFSET")
    for record, wide, narrow, distance, *fields in rows("OFFSETS"):
        steps = (8, 4) if distance == "ADDRESS" else (int(distance), int(distance))
        single += [[record, field.removeprefix("&I::"), str(int(wide) + i * steps[0]), str(int(narrow) + i * steps[1])]
                   for i, field in enumerate(fields)]
    return single


def test_operations_are_in_their_order() -> None:
    slots = {interface: [name.removeprefix("&I::") for name in names] for interface, _, *names in rows("SLOTS")}
    for interface, operations in _contract.OPERATIONS.items():
        names = slots["IUnknown"] + slots[interface]
        assert names[: len(operations.split())] == operations.split()


def test_records_have_their_layout_with_addresses_of_64_and_of_32_bits() -> None:
    for column, address in ((-2, ctypes.c_uint64), (-1, ctypes.c_uint32)):
        records = vars(_contract.records(address))
        listed = [row for row in rows("SIZE") + offsets() if row[0] in records and row[0] != "VARIANT"]
        assert len(listed) > 40
        for row in listed:
            record = records[row[0]]
            assert int(row[column]) == (ctypes.sizeof(record) if len(row) == 3 else getattr(record, row[1]).offset)


def test_identifiers_and_values_are_listed() -> None:
    listed = {name: json.loads(text) for name, text in rows("IDENTIFIER")}
    for name, pair in _contract.IDENTIFIERS.items():
        assert pair == (listed["CLSID_" + name], listed["IID_I" + name])
    values = {name: int(number, 16) for name, number in rows("VALUE")}
    values |= {name: int(first, 16) + i for first, *names in rows("VALUES") for i, name in enumerate(names)}
    assert {code: name for name, code in values.items() if name.startswith("ZSE_")}.items() <= _errors.NAMES.items()
    for prefix, members in (("ZSIMAGEFORMAT_", _model.Format), ("ZSTYPEPROJECT_", _model.Kind),
                            ("ZSIMAGEMASK_", _model.Mask), ("ZSSESSIONFORMAT_", _model.SessionFormat)):
        expected = {name.removeprefix(prefix): number for name, number in values.items() if name.startswith(prefix)}
        assert expected.items() <= {member.name: member.value for member in members}.items()


def test_version_is_the_library_s() -> None:
    version = re.search(r"project\(ImageFile VERSION ([0-9.]+)", (PROJECT / "CMakeLists.txt").read_text())
    assert version and f'version = "{version[1]}"' in (PROJECT / "bindings/python/pyproject.toml").read_text()
