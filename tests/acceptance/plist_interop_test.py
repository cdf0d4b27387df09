"""Property lists between this system and three others: Python's plistlib, libplist (plistutil) and GNUstep.

Every document is generated from a value, and what each program reads is compared with that value. The known differences
are listed in DIFFERENCES with their reasons, and a test shows that they still exist. """

import plistlib
import tempfile
from pathlib import Path

import openstep_plist
import pytest

from support.property_lists import (NOT_IN_XML, Date, HandMade, LibPlist, Values, bits, for_plistlib, in_json,
                                    read_with_gnustep, read_with_ours, read_with_plistlib, tagged)

SEED = 20010101

DIFFERENCES = {
    "plistlib": {
        "a set": "knows no sets",
        "an ordered set": "knows no sets",
        "UTF-8": "knows no UTF-8 texts in the binary form",
        "a date after the year 9999": "a datetime ends there",
    },
    "libplist": {
        "an ordered set": "knows no ordered sets",
        "UTF-8": "knows no UTF-8 texts in the binary form",
        "an empty text in UTF-16": "refuses the document, depending on what surrounds it",
        "null": "loses null in its XML",
        "a negative integer of 16 bytes": "reads only the low 8 bytes, without a sign",
        "a UID of more than 8 bytes": "loses it",
        "control characters": "its XML has them unescaped, which is not XML",
        "a zero byte in a text": "its texts end there",
        "negative zero": "loses the sign in its XML",
        "a fraction of a second": "its dates are whole seconds",
        "a date before the year 1000": "its XML has fewer than four digits then",
        "a date after the year 9999": "its XML has an empty date",
    },
    "GNUstep": {
        "a set": "knows no sets",
        "an ordered set": "knows no sets",
        "UTF-8": "knows no UTF-8 texts in the binary form",
        "null": "refuses the document",
        "an integer of 16 bytes": "reads up to 8 bytes",
        "a negative integer of 16 bytes": "reads up to 8 bytes",
        "an integer above all signed ones": "reads up to 8 bytes, and this takes 16",
        "a UID of more than 2 bytes": "refuses the document",
        "a count of 8 bytes": "reads it as 0",
        "references or offsets of more than 4 bytes": "reads up to 4 bytes",
    },
}

FIRST_OF_YEAR_1000 = -31_588_790_400
FIRST_OF_YEAR_10000 = 252_423_993_600


def scalars(value):
    if isinstance(value, dict):
        for key, item in value.items():
            yield key
            yield from scalars(item)
    elif isinstance(value, list):
        for item in value:
            yield from scalars(item)
    else:
        yield value


def scalar_features(value):
    if value is None:
        yield "null"
    elif isinstance(value, str):
        if "\0" in value:
            yield "a zero byte in a text"
        if any(character < " " for character in value):
            yield "control characters"
    elif isinstance(value, Date):
        if value != int(value):
            yield "a fraction of a second"
        if value < FIRST_OF_YEAR_1000:
            yield "a date before the year 1000"
        if value >= FIRST_OF_YEAR_10000:
            yield "a date after the year 9999"
    elif isinstance(value, float) and bits(value) == bits(-0.0):
        yield "negative zero"
    elif isinstance(value, int) and value >= 1 << 63:
        yield "an integer above all signed ones"
    elif isinstance(value, plistlib.UID) and value.data > 0xFFFF:
        yield "a UID of more than 2 bytes"


def features(value):
    """The features of a value, in whatever form, that not every program reads."""
    return {feature for scalar in scalars(value) for feature in scalar_features(scalar)}


class Document:
    """The bytes of a property list, its value as JSON, and the features in it that not every program reads."""

    def __init__(self, content, value, more_features=()):
        self.content = content
        self.json = in_json(value)
        self.value_features = features(value)
        self.features = self.value_features | set(more_features)


@pytest.fixture(scope="module")
def tool(build):
    program = build / "tests/tools/plist_tool"
    assert program.is_file(), f"{program} has not been built"
    return program


@pytest.fixture
def exchange(tool, tmp_path):
    return Exchange(tool, tmp_path)


class Exchange:
    """Gives documents to all programs and compares what they read."""

    def __init__(self, tool, folder):
        self.tool = tool
        self.folder = folder
        self.libplist = LibPlist()

    def new_folder(self):
        return Path(tempfile.mkdtemp(dir=self.folder))

    def files(self, contents):
        folder = self.new_folder()
        names = []
        for number, content in enumerate(contents):
            names.append(folder / str(number))
            names[-1].write_bytes(content)
        return names

    def read_by_us(self, documents):
        """Checks that we read every document as the value it was made from. Returns what we write of it."""
        names = self.files([document.content for document in documents])
        written = self.new_folder()
        for document, json in zip(documents, read_with_ours(self.tool, names, written)):
            assert json == document.json, document.content
        return [(written / str(number)).read_bytes() for number in range(len(documents))]

    def readings(self, contents):
        names = self.files(contents)
        return {
            "plistlib": [read_with_plistlib(content) for content in contents],
            "libplist": [self.libplist.read(content) for content in contents],
            "GNUstep": read_with_gnustep(names),
        }

    def is_read_by_all(self, contents, jsons, features_of_each):
        """Checks that all programs read the contents as the JSON says. Returns the known differences that were seen."""
        seen = set()
        for reader, readings in self.readings(contents).items():
            for content, json, features_of_one, reading in zip(contents, jsons, features_of_each, readings):
                known = features_of_one & DIFFERENCES[reader].keys()
                if known and reading != json:
                    seen |= {(reader, feature) for feature in known}
                else:
                    assert reading == json, (reader, content, features_of_one)
        return seen

    def go_both_ways(self, documents):
        """Checks that we read all documents, and that all programs read what we write of them."""
        self.is_read_by_all(self.read_by_us(documents), [document.json for document in documents],
                            [document.value_features for document in documents])


def made_by_plistlib(count, seed=SEED):
    # If a document has both 0.0 and -0.0, it writes the first of them for both.
    values = Values(seed, without={"negative zero"})
    for _ in range(count):
        value = values.value()
        yield Document(plistlib.dumps(for_plistlib(value), fmt=plistlib.FMT_BINARY), value)


def made_as_xml(count, seed=SEED, without=()):
    values = Values(seed, NOT_IN_XML | set(without))
    for _ in range(count):
        value = values.value()
        yield Document(plistlib.dumps(for_plistlib(value)), value)


def made_by_hand(count, seed=SEED):
    maker = HandMade(seed)
    for _ in range(count):
        yield Document(*maker.document())


def test_binary_documents_of_plistlib_go_both_ways(exchange):
    exchange.go_both_ways(list(made_by_plistlib(500)))


def test_xml_documents_of_plistlib_go_both_ways(exchange):
    exchange.go_both_ways(list(made_as_xml(400)))


def test_xml_documents_in_utf_16_go_both_ways(exchange):
    documents = list(made_as_xml(100, SEED + 1))
    for document, encoding in zip(documents, ["utf-16-le", "utf-16-be"] * 50):
        text = document.content.decode().replace('encoding="UTF-8"', 'encoding="UTF-16"', 1)
        document.content = ("\ufeff" + text).encode(encoding)
    exchange.go_both_ways(documents)


def converted(document, content):
    result = Document(content, None)
    result.json = document.json
    return result


def test_binary_and_xml_documents_of_libplist_are_read(exchange):
    # In its XML zero has no sign, and years before 1000 have fewer than four digits.
    documents = list(made_as_xml(300, SEED + 2, without={"negative zero"}))
    in_binary = [converted(document, exchange.libplist.in_binary(document.content)) for document in documents]
    exchange.read_by_us(in_binary)
    in_xml = [converted(document, exchange.libplist.in_xml(document.content)) for document in documents
              if "a date before the year 1000" not in document.features]
    exchange.read_by_us(in_xml)


def test_binary_and_xml_documents_of_gnustep_are_read_as_by_plistlib(exchange):
    # It merges numbers of equal value whatever their kinds, and its XML has reals of few digits and \UD83D\UDE00 for
    # one character. So what it writes is not always what it read.
    names = exchange.files([document.content for document in made_as_xml(300, SEED + 3)])
    folder = exchange.new_folder()
    assert "absent" not in read_with_gnustep(names, folder, ["binary", "xml"])
    written = [path.read_bytes() for path in sorted(folder.iterdir())]
    assert len(written) == 2 * len(names)
    readings = read_with_ours(exchange.tool, exchange.files(written), exchange.new_folder())
    assert readings == [read_with_plistlib(content) for content in written]
    assert "absent" not in readings


def test_binary_documents_of_every_kind_and_width_go_both_ways(exchange):
    exchange.go_both_ways(list(made_by_hand(1000)))


@pytest.mark.parametrize("count", [1, 100, 253, 254, 255, 20_000, 65_534, 65_535, 70_000])
def test_every_width_that_we_write_is_read_by_all(exchange, count):
    """One, two and three bytes for references and offsets, on both sides of each limit."""
    value = list(range(count))
    document = Document(plistlib.dumps(value, fmt=plistlib.FMT_BINARY), value)
    document.value_features |= {"references of 3 bytes"} if count > 65_534 else set()
    exchange.go_both_ways([document])


def test_others_read_what_we_read_except_for_the_known_differences(exchange):
    documents = list(made_by_hand(1000, SEED + 4))
    far = Date(260_000_000_000)
    documents.append(Document(b"bplist00\x33" + bytes.fromhex(bits(far)) + b"\x08" +
                              bytes(6) + b"\x01\x01" + b"".join(n.to_bytes(8, "big") for n in (1, 0, 17)), far))
    exchange.read_by_us(documents)
    seen = exchange.is_read_by_all([document.content for document in documents],
                                   [document.json for document in documents],
                                   [document.features for document in documents])
    assert seen == {(reader, feature) for reader, known in DIFFERENCES.items() for feature in known}


def test_our_text_of_other_bytes_is_read_by_all(exchange):
    """We write bytes that are not valid text as noncharacters, so that all programs read the document."""
    path = "/opt/caf\uFDDE\uFDE9"
    content = plistlib.dumps({"executablePath": path}, fmt=plistlib.FMT_BINARY)
    ours = Document(content, {"executablePath": "/opt/caf\udce9"})
    written = exchange.read_by_us([ours])
    assert not exchange.is_read_by_all(written, [in_json({"executablePath": path})], [set()])


def as_text(value):
    """A value as the old text form has it: all scalars except data are texts."""
    if isinstance(value, dict):
        return {key: as_text(item) for key, item in value.items()}
    if isinstance(value, list):
        return [as_text(item) for item in value]
    return value if isinstance(value, (bytes, str)) else str(value)


def test_text_documents_of_openstep_plist_are_read(exchange):
    values = Values(SEED + 5)
    documents = []
    for number in range(300):
        value = as_text(values.value())
        text = openstep_plist.dumps(value, indent=[None, 2][number % 2])
        documents.append(Document(text.encode(), value))
    exchange.read_by_us(documents)


def test_text_documents_of_gnustep_are_read_as_by_itself(exchange):
    names = exchange.files([document.content for document in made_as_xml(300, SEED + 3)])
    folder = exchange.new_folder()
    read_with_gnustep(names, folder, ["text"])
    written = list(folder.iterdir())
    assert len(written) == len(names)
    readings = read_with_ours(exchange.tool, written, exchange.new_folder())
    assert readings == read_with_gnustep(written)
    assert "absent" not in readings


TEXT_DOCUMENTS = [
    '{ a = b; "c d" = (1, 2.5, ); e = <00ff 1020>; }',
    "/* one */ { a = { b = { c = (); }; }; } // two",
    '("\\a\\b\\f\\n\\r\\t\\v\\"\\\\", "\\101\\60", "\\U00e9\\U4e2d", \'single "quotes"\')',
    "(a/b, a.b, a-b, a_b, $a, a:b)",
    '"Hello" = "Bonjour";\nBye = "Salut";\n',
    "hello",
    '"a\nb"',
    "(<>, <ab>, {}, ())",
]


@pytest.mark.parametrize("document", TEXT_DOCUMENTS)
def test_text_documents_are_read_as_by_openstep_plist(exchange, document):
    exchange.read_by_us([Document(document.encode(), openstep_plist.loads(document))])


@pytest.mark.parametrize("byte", range(0o200, 0o376))
def test_octal_escapes_are_read_as_by_openstep_plist(exchange, byte):
    document = f'"\\{byte:o}"'
    exchange.read_by_us([Document(document.encode(), openstep_plist.loads(document))])


def test_json_distinguishes_kinds():
    """The comparison itself: values that Python treats as equal, or nearly equal, are different here."""
    values = [1, 1.0, True, Date(1), "1", b"1", [1], {"1": 1}, plistlib.UID(1), 0, 0.0, -0.0, False, None]
    assert len({in_json(value) for value in values}) == len(values)
    assert tagged(plistlib.UID(1)) == {"dict": {"CF$UID": 1}}
