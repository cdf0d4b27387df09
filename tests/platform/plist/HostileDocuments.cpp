#include "platform/plist/HostileDocuments.h"

#include <functional>

#include "platform/plist/BinaryDocument.h"

namespace zk::test {

namespace {

using namespace std::string_literals;

constexpr std::size_t kHeaderLength = 8;

/// `start`, then `item` with 0, 1, 2, ... up to about `size` bytes, then `end`.
std::string filled(std::size_t size, const std::string& start, const std::function<std::string(std::size_t)>& item,
                   const std::string& end) {
  std::string document = start;
  for (std::size_t index = 0; document.size() < size; ++index) document += item(index);
  return document + end;
}

std::string repeated(std::size_t size, const std::string& start, const std::string& item, const std::string& end) {
  return filled(
      size, start, [&item](std::size_t) { return item; }, end);
}

/// A word of so many letters, different for every index as long as there are enough.
std::string word(std::size_t index, std::size_t letters) {
  std::string text(letters, 'a');
  for (char& letter : text) {
    letter = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_$"[index % 64];
    index /= 64;
  }
  return text;
}

std::string inUTF16(const std::string& text) {
  std::string bytes = "\xFE\xFF";
  for (const char character : text) bytes += {'\0', character};
  return bytes;
}

std::vector<HostileDocument> hungryTexts(std::size_t size) {
  const auto words = [size](const std::string& start, std::size_t letters, const std::string& after,
                            const std::string& end) {
    return filled(
        size, start, [=](std::size_t index) { return word(index, letters) + after; }, end);
  };
  return {
      {"(a,a,...)", repeated(size, "(", "a,", ")")},
      {"(a,b,...) of all words of two letters", words("(", 2, ",", ")")},
      {"(a,b,...) of all words of three letters", words("(", 3, ",", ")")},
      {"(a,b,...) of all words of sixteen letters", words("(", 16, ",", ")")},
      {"empty strings", repeated(size, "(", "\"\",", ")")},
      {"empty arrays", repeated(size, "(", "(),", ")")},
      {"empty dictionaries", repeated(size, "(", "{},", ")")},
      {"empty data", repeated(size, "(", "<>,", ")")},
      {"data of one byte", repeated(size, "(", "<00>,", ")")},
      {"arrays of one", repeated(size, "(", "(a),", ")")},
      {"arrays of one inside one another",
       repeated(size, "(", std::string(510, '(') + "a" + std::string(510, ')') + ",", ")")},
      {"dictionaries of one", repeated(size, "(", "{a;},", ")")},
      {"one key alone", repeated(size, "{", "a;", "}")},
      {"keys of two letters alone", words("{", 2, ";", "}")},
      {"keys of three letters alone", words("{", 3, ";", "}")},
      {"keys of three letters without braces", words("", 3, ";", "")},
      {"one entry", repeated(size, "{", "a=b;", "}")},
      {"entries of three letters", words("{", 3, "=b;", "}")},
      {"entries of empty arrays", words("{", 3, "=();", "}")},
      {"escapes", repeated(size, "\"", "\\U41", "\"")},
      {"octal escapes of three bytes", repeated(size, "\"", "\\256", "\"")},
      {"(a,a,...) in UTF-16", inUTF16(repeated(size / 2, "(", "a,", ")"))},
      {"keys of three letters alone in UTF-16",
       inUTF16(filled(
           size / 2, "{", [](std::size_t index) { return word(index, 3) + ";"; }, "}"))},
  };
}

std::vector<HostileDocument> hungryXML(std::size_t size) {
  const auto array = [size](const std::string& item) { return repeated(size, "<array>", item, "</array>"); };
  return {
      {"<true/>", array("<true/>")},
      {"<dict/>", array("<dict/>")},
      {"<data/>", array("<data/>")},
      {"<string/>", array("<string/>")},
      {"<string>a</string>", array("<string>a</string>")},
      {"<integer>1</integer>", array("<integer>1</integer>")},
      {"<array><true/></array>", array("<array><true/></array>")},
      {"<dict><key/><true/></dict>", array("<dict><key/><true/></dict>")},
      {"<key/><true/>", repeated(size, "<dict>", "<key/><true/>", "</dict>")},
      {"different keys",
       filled(
           size, "<dict>", [](std::size_t index) { return "<key>" + word(index, 4) + "</key><true/>"; }, "</dict>")},
      {"references", repeated(size, "<string>", "&lt;", "</string>")},
      {"<true/> in UTF-16", inUTF16(repeated(size / 2, "<array>", "<true/>", "</array>"))},
  };
}

/// As many of `object` as fit, each one an object of its own, in one array.
std::string binaryArray(std::size_t size, const std::string& object, std::size_t offsetSize,
                        std::size_t referenceSize) {
  const std::size_t count = size / (object.size() + offsetSize + referenceSize);
  std::string references;
  for (std::size_t index = 1; index <= count; ++index) references += bigEndian(index, referenceSize);
  std::vector<std::string> objects(count + 1, object);
  objects[0] = "\xAF\x12" + bigEndian(count, 4) + references;
  return binaryDocument(objects, {.offsetSize = offsetSize, .referenceSize = referenceSize});
}

std::vector<HostileDocument> hungryBinaries(std::size_t size) {
  std::vector<HostileDocument> documents;
  const std::string nextToLast = bigEndian(1, 3);
  for (const auto& [name, object] : std::vector<std::pair<std::string, std::string>>{{"nulls", "\x00"s},
                                                                                     {"booleans", "\x09"},
                                                                                     {"empty arrays", "\xA0"},
                                                                                     {"empty dictionaries", "\xD0"},
                                                                                     {"empty data", "\x40"},
                                                                                     {"empty strings", "\x50"},
                                                                                     {"empty UTF-16 strings", "\x60"},
                                                                                     {"strings", "\x51\x61"},
                                                                                     {"UTF-16 strings", "\x61\xFF\xFF"},
                                                                                     {"integers", "\x10\x01"},
                                                                                     {"UIDs", "\x80\x01"}}) {
    documents.push_back({"binary " + name, binaryArray(size, object, 3, 3)});
    documents.push_back({"few binary " + name, binaryArray(60000, object, 2, 2)});
  }

  // Arrays and dictionaries of one, of the same two shared objects (the last two of the table).
  const std::size_t count = size / 14;
  const auto shared = [count](const std::string& object) {
    std::vector<std::string> objects(count, object);
    std::string references;
    for (std::size_t index = 1; index < count; ++index) references += bigEndian(index, 3);
    objects[0] = "\xAF\x12" + bigEndian(count - 1, 4) + references;
    objects.emplace_back("\x51\x61");
    return binaryDocument(objects, {.offsetSize = 3, .referenceSize = 3});
  };
  documents.push_back({"binary arrays of one", shared("\xA1" + bigEndian(count, 3))});
  documents.push_back({"binary dictionaries of one", shared("\xD1" + bigEndian(count, 3) + bigEndian(count, 3))});

  const std::string length = "\x12" + bigEndian(size, 4);
  const std::string half = "\x12" + bigEndian(size / 2, 4);
  documents.push_back({"references of one byte",
                       binaryDocument({"\xAF" + length + std::string(size, '\x01'), "\x09"}, {.offsetSize = 4})});
  documents.push_back(
      {"entries of one byte each",
       binaryDocument({"\xDF" + half + std::string(size / 2 * 2, '\x01'), "\x51\x61"}, {.offsetSize = 4})});
  std::string keys;
  for (std::size_t index = 0; index < size / 2; ++index) keys += static_cast<char>(1 + index % 200);
  std::vector<std::string> objects = {"\xDF" + half + keys + keys};
  for (unsigned index = 0; index < 200; ++index) objects.push_back("\x51" + bigEndian('A' + index % 60, 1));
  documents.push_back({"entries of many keys", binaryDocument(objects, {.offsetSize = 4})});

  std::string offsets;
  for (std::size_t index = 0; index < size / 3; ++index) offsets += bigEndian(kHeaderLength, 3);
  documents.push_back({"offsets that nothing refers to",
                       "bplist00\x09" + offsets + binaryTrailer({.offsetSize = 3, .referenceSize = 4}, size / 3, 9)});
  return documents;
}

/// A dictionary of the same two keys again and again, which are long and differ only at their ends.
std::string dictionaryOfLongKeys(std::size_t size) {
  const std::string count = "\x12" + bigEndian(size / 4, 4);
  const std::string key = "\x5F" + count + std::string(size / 4 - 1, 'a');
  std::string keys;
  while (keys.size() < size / 4) keys += "\x01\x02";
  return binaryDocument({"\xDF" + count + keys + keys, key + "b", key + "c"}, {.offsetSize = 4});
}

/// Arrays that all have their references in the same place, and each almost as many as the document is long.
std::string overlappingArrays(std::size_t size) {
  // The markers and counts of the arrays are references of those before them, too. None of their bytes is an index from
  // kFirst on, so that they refer to the one scalar.
  constexpr std::size_t kFirst = 0xE0;
  constexpr std::size_t kCount = 30;
  constexpr std::size_t kTop = 0xFF;
  std::vector<std::size_t> offsets(kTop + 1, kHeaderLength);
  std::string document = "bplist00\x09";
  offsets[kTop] = document.size();
  document += "\xAF\x10" + bigEndian(kCount, 1);
  for (std::size_t index = kFirst; index < kFirst + kCount; ++index) document += bigEndian(index, 1);
  for (std::size_t index = kFirst; index < kFirst + kCount; ++index) {
    offsets[index] = document.size();
    document += "\xAF\x12" + bigEndian(size, 4);
  }
  document += std::string(size, '\x01');
  const std::size_t offsetTable = document.size();
  for (const std::size_t offset : offsets) document += bigEndian(offset, 4);
  return document + binaryTrailer({.offsetSize = 4, .top = kTop}, offsets.size(), offsetTable);
}

/// An array of `count` UIDs that are all in one place, and after it so many bytes that nobody reads.
std::string overlappingUIDs(std::size_t count, std::size_t offsetSize, std::size_t referenceSize, std::size_t unused) {
  constexpr std::size_t kArray = kHeaderLength + 2;
  std::string document = "bplist00\x80\x01\xAF\x12" + bigEndian(count, 4);
  std::string offsets = bigEndian(kArray, offsetSize);
  for (std::size_t index = 1; index <= count; ++index) {
    document += bigEndian(index, referenceSize);
    offsets += bigEndian(kHeaderLength, offsetSize);
  }
  document += std::string(unused, '\0');
  const std::string trailer =
      binaryTrailer({.offsetSize = offsetSize, .referenceSize = referenceSize}, count + 1, document.size());
  return document + offsets + trailer;
}

}  // namespace

std::string doublingArrays(std::size_t levels) {
  std::vector<std::string> objects;
  for (std::size_t level = 1; level <= levels; ++level) {
    objects.push_back("\xA2" + bigEndian(level, 2) + bigEndian(level, 2));
  }
  objects.emplace_back("\xA0");
  return binaryDocument(objects, {.offsetSize = 2, .referenceSize = 2});
}

std::vector<HostileDocument> hungryDocuments(std::size_t size) {
  std::vector<HostileDocument> all = hungryTexts(size);
  for (HostileDocument& document : hungryXML(size)) all.push_back(std::move(document));
  for (HostileDocument& document : hungryBinaries(size)) all.push_back(std::move(document));
  return all;
}

std::vector<HostileDocument> slowDocuments(std::size_t size) {
  return {
      {"a dictionary of long keys", dictionaryOfLongKeys(size)},
      {"overlapping arrays", overlappingArrays(size)},
      {"more offsets than bytes can tell apart",
       "bplist00\x09" + std::string(size, '\x08') + binaryTrailer({.referenceSize = 4}, size, 9)},
      {"overlapping UIDs", overlappingUIDs(size / 4, 1, 3, 0)},
      {"overlapping UIDs before something", overlappingUIDs(size / 6, 1, 3, size / 3)},
      {"few overlapping UIDs", overlappingUIDs(65535, 2, 2, 0)},
      {"few overlapping UIDs before something", overlappingUIDs(65535, 2, 2, std::size_t{2} * 65536)},
      {"arrays that double", doublingArrays(500)},
      {"comments that do not end", repeated(size, "(", "/*", "")},
      {"comments", repeated(size, "(", "/**/", ")")},
      {"line comments", repeated(size, "(", "//\n", ")")},
      {"braces that do not end", repeated(size, "", "{a=", "")},
      {"brackets that do not end", repeated(size, "", "(", "")},
      {"backslashes", repeated(size, "\"", "\\", "\"")},
      {"white space", std::string(size, ' ')},
      {"white space before data", "<" + std::string(size, ' ')},
      {"one long bare string twice", std::string(size / 2, 'a') + "=" + std::string(size / 2, 'a') + ";"},
      {"one key", repeated(size, "{", "a=b;", "}")},
      {"long keys of one beginning",
       filled(
           size, "{", [](std::size_t index) { return std::string(1000, 'a') + word(index, 4) + ";"; }, "}")},
      {"XML comments that do not end", repeated(size, "<array>", "<!--", "")},
      {"XML comments", repeated(size, "<array>", "<!---->", "</array>")},
      {"XML comments in a string", repeated(size, "<string>", "<!---->", "</string>")},
      {"sections in a string", repeated(size, "<string>", "<![CDATA[]]>", "</string>")},
      {"sections that do not end", repeated(size, "<string>", "<![CDATA[", "")},
      {"references in a string", repeated(size, "<string>", "&lt;", "</string>")},
      {"escapes in a string", repeated(size, "\"", "\\n", "\"")},
      {"ampersands", repeated(size, "<string>", "&", "</string>")},
      {"carriage returns", repeated(size, "<string>", "\r", "</string>")},
      {"tags that do not end", repeated(size, "", "<array>", "")},
      {"attributes", repeated(size, "<true ", "a='' ", "/>")},
      {"a name", repeated(size, "<", "array", ">")},
      {"nested document type", repeated(size, "<!DOCTYPE a [", "<", "]>")},
      {"declared entities", repeated(size, "<!DOCTYPE a [", "<!ENTITY a '&a;&a;'>", "]><string>&a;</string>")},
      {"instructions", repeated(size, "", "<?a?>", "<true/>")},
  };
}

}  // namespace zk::test
