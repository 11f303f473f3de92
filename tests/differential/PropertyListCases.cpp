#include <algorithm>
#include <filesystem>

#include <sys/stat.h>

#include "Cases.h"
#include "platform/PropertyList.h"
#include "support/TempFolder.h"

using namespace platform;

namespace differential {

namespace {

using Texts = std::vector<std::string>;

const Texts keys = {
    "v", "v", "v", "w", "", "\u00E9", "a&b", "V", "long key with blanks and more than fifteen letters"};

/// A value of a property list.
struct Value {
    enum Kind { Text, Number, Real, Yes, Date, Data, List, Dictionary } kind = Text;
    std::string text;           ///< of the kinds that have one
    std::vector<Value> members; ///< of a dictionary, each with its key before it
};

Value textValue(const std::string& text) { return {Value::Text, text, {}}; }

Value valueIn(Random& random, int depth);

Value dictionaryIn(Random& random, int depth) {
    Value dictionary = {Value::Dictionary, "", {}};
    Texts left = keys;
    for (std::size_t count = random.below(5); count > 0; --count) {
        const std::string key = random.of(left);
        left.erase(std::remove(left.begin(), left.end(), key), left.end());
        dictionary.members.push_back(textValue(key));
        dictionary.members.push_back(valueIn(random, depth + 1));
    }
    return dictionary;
}

Value valueIn(Random& random, int depth) {
    const Texts texts = {"1.2.3",
                         "",
                         " blanks ",
                         "\u00E9",
                         "a&b<c>\"d'",
                         "\U0001F600",
                         "two\nlines",
                         "\t",
                         "a\u0308",
                         "yes",
                         "more than fifteen letters",
                         "\xEF\xBF\xBE",
                         "\u00A0",
                         "\uFEFFx",
                         "\r"};
    switch (random.below(depth > 3 ? 6 : 10)) {
    case 0:
        return {Value::Number, "42", {}};
    case 1:
        return random.oneIn(2) ? Value{Value::Real, "1.5", {}} : Value{Value::Yes, "", {}};
    case 2:
        return random.oneIn(2) ? Value{Value::Date, "2020-01-02T03:04:05Z", {}}
                               : Value{Value::Data, "AAEC", {}};
    case 8:
        return {Value::List, "", {valueIn(random, depth + 1), valueIn(random, depth + 1)}};
    case 9:
        return dictionaryIn(random, depth + 1);
    default:
        return textValue(random.of(texts));
    }
}

Value rootIn(Random& random) { return random.oneIn(10) ? valueIn(random, 0) : dictionaryIn(random, 0); }

std::string xmlText(const std::string& text) {
    std::string result;
    for (const char c : text) {
        result += c == '&' ? "&amp;" : c == '<' ? "&lt;" : std::string(1, c);
    }
    return result;
}

/// Writes XML lists with everything that may stand in one.
class XmlWriter {
  public:
    explicit XmlWriter(Random& source) : random(source) {}

    std::string list(const Value& root) {
        const Texts declarations = {"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n", "<?xml version=\"1.0\"?>",
                                    ""};
        const std::string type = "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                                 "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n";
        const Texts openings = {"<plist version=\"1.0\">", "<plist version=\"1.0\">\n", "<plist>"};
        const std::string head = some(30, "\uFEFF") + some(20, "\n ") + random.of(declarations) +
                                 some(10, "<!-- c -->") + (random.oneIn(3) ? "" : type);
        const std::string body = written(root);
        return head + (random.oneIn(20)
                           ? body
                           : random.of(openings) + body + some(2, "\n") + "</plist>" + some(2, "\n"));
    }

  private:
    std::string some(std::size_t chances, const std::string& text) {
        return random.oneIn(chances) ? text : "";
    }

    std::string between() {
        const Texts parts = {"\n", "  ", "<!-- c -->", "<?p i?>", "", "", "", "\n\t", ""};
        return random.of(parts);
    }

    std::string tagged(const std::string& tag, const std::string& content) {
        return content.empty() && random.oneIn(2) ? "<" + tag + "/>"
                                                  : "<" + tag + ">" + content + "</" + tag + ">";
    }

    std::string textOf(const std::string& text) {
        const Texts odd = {"<![CDATA[<raw>&amp;]]>", "a<!-- c -->b", "&#x41;&#66;", "<b>x</b>",
                           "a<![CDATA[b]]>c",        "&quot;&apos;"};
        return tagged("string", random.oneIn(6) ? random.of(odd) : xmlText(text));
    }

    std::string dictionary(const std::vector<Value>& members) {
        std::string content = between();
        for (std::size_t i = 0; i < members.size(); i += 2) {
            content +=
                tagged("key", xmlText(members[i].text)) + between() + written(members[i + 1]) + between();
        }
        return tagged("dict", content + some(40, "<key>V</key>") + some(40, "stray") +
                                  some(40, "<string>stray</string>"));
    }

    std::string listOf(const std::vector<Value>& members) {
        std::string content;
        for (const Value& member : members) {
            content += written(member) + between();
        }
        return tagged("array", content);
    }

    std::string written(const Value& value) {
        if (random.oneIn(60)) {
            const Texts odd = {"<unknown/>", "<STRING>x</STRING>", "<integer>x</integer>",
                               "<string a='b'>x</string>", "<true>x</true>"};
            return random.of(odd);
        }
        switch (value.kind) {
        case Value::Text:
            return textOf(value.text);
        case Value::Number:
            return tagged("integer", value.text);
        case Value::Real:
            return tagged("real", value.text);
        case Value::Yes:
            return random.oneIn(2) ? "<true/>" : "<false/>";
        case Value::Date:
            return tagged("date", value.text);
        case Value::Data:
            return tagged("data", value.text);
        case Value::List:
            return listOf(value.members);
        default:
            return dictionary(value.members);
        }
    }

    Random& random;
};

std::string bytesOf(std::uint64_t number, int size) {
    std::string bytes;
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) {
        bytes += static_cast<char>(number >> shift & 0xFF);
    }
    return bytes;
}

std::string marker(unsigned kind, std::size_t parts) {
    return parts < 15 ? bytesOf(kind << 4 | parts, 1)
                      : bytesOf(kind << 4 | 0xF, 1) + bytesOf(0x11, 1) + bytesOf(parts, 2);
}

/// The UTF-16 units of valid UTF-8, the high byte of each first.
std::string unitsOf(const std::string& text) {
    std::string units;
    for (std::size_t i = 0; i < text.size();) {
        const auto first = static_cast<unsigned char>(text[i]);
        const std::size_t length = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
        char32_t character = length == 1 ? first : first & (0x7FU >> length);
        for (std::size_t k = 1; k < length; ++k) {
            character = character << 6 | (static_cast<unsigned char>(text[i + k]) & 0x3F);
        }
        units += character < 0x10000 ? bytesOf(character, 2)
                                     : bytesOf(0xD800 + ((character - 0x10000) >> 10), 2) +
                                           bytesOf(0xDC00 + (character & 0x3FF), 2);
        i += length;
    }
    return units;
}

/// Writes binary lists.
class BinaryWriter {
  public:
    BinaryWriter(int bytesOfReference, int bytesOfOffset)
        : referenceSize(bytesOfReference), offsetSize(bytesOfOffset) {}

    std::string list(const Value& value) {
        const std::size_t root = add(value);
        std::string result = "bplist00";
        std::string offsets;
        for (const std::string& object : objects) {
            offsets += bytesOf(result.size(), offsetSize);
            result += object;
        }
        const std::size_t table = result.size();
        return result + offsets + std::string(6, '\0') + bytesOf(static_cast<std::uint64_t>(offsetSize), 1) +
               bytesOf(static_cast<std::uint64_t>(referenceSize), 1) + bytesOf(objects.size(), 8) +
               bytesOf(root, 8) + bytesOf(table, 8);
    }

  private:
    std::size_t add(const Value& value) {
        const std::string object = value.members.empty() ? simple(value) : container(value);
        objects.push_back(object);
        return objects.size() - 1;
    }

    std::string container(const Value& value) {
        const std::size_t step = value.kind == Value::Dictionary ? 2 : 1;
        std::string references;
        for (std::size_t start = 0; start < step; ++start) {
            for (std::size_t i = start; i < value.members.size(); i += step) {
                references += bytesOf(add(value.members[i]), referenceSize);
            }
        }
        return marker(step == 2 ? 0xD : 0xA, value.members.size() / step) + references;
    }

    static std::string simple(const Value& value) {
        const bool isPlain = value.text.find_first_of("\x80\xC2\xC3\xCC\xE2\xEF\xF0") == std::string::npos;
        switch (value.kind) {
        case Value::Text:
            return isPlain ? marker(5, value.text.size()) + value.text
                           : marker(6, unitsOf(value.text).size() / 2) + unitsOf(value.text);
        case Value::Number:
            return bytesOf(0x10, 1) + bytesOf(42, 1);
        case Value::Real:
            return bytesOf(0x23, 1) + bytesOf(0x3FF8000000000000, 8);
        case Value::Date:
            return bytesOf(0x33, 1) + bytesOf(0x41C0000000000000, 8);
        case Value::Data:
            return marker(4, value.text.size()) + value.text;
        case Value::Yes:
            return bytesOf(9, 1);
        default:
            return marker(value.kind == Value::List ? 0xA : 0xD, 0);
        }
    }

    int referenceSize;
    int offsetSize;
    std::vector<std::string> objects;
};

std::string oldStyle(const Value& value) {
    switch (value.kind) {
    case Value::List:
        return "( " + oldStyle(value.members.at(0)) + ", " + oldStyle(value.members.at(1)) + " )";
    case Value::Dictionary: {
        std::string result = "{\n";
        for (std::size_t i = 0; i < value.members.size(); i += 2) {
            result += oldStyle(value.members[i]) + " = " + oldStyle(value.members[i + 1]) + ";\n";
        }
        return result + "}";
    }
    case Value::Data:
        return "<000102>";
    default: {
        std::string quoted = "\"";
        for (const char c : value.text) {
            quoted += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
        }
        return quoted + "\"";
    }
    }
}

std::string textAt(const std::string& path, const std::string& key) {
    const auto text = propertyListText(path.c_str(), key.c_str());
    return text ? "|" + escaped(*text) + "|" : "nothing";
}

void reportContent(const std::string& kind, const std::string& content, const std::string& key) {
    static const support::TempFolder folder;
    support::writeFile(folder / "list", content);
    report("plist", kind + " " + escaped(key) + " in |" + escaped(content) + "|",
           answerOf([&] { return textAt(folder / "list", key); }));
}

std::string contentIn(Random& random, const std::string& kind) {
    const Value root = rootIn(random);
    if (kind == "old") {
        return oldStyle(root);
    }
    return kind == "xml" ? XmlWriter(random).list(root)
                         : BinaryWriter(random.oneIn(3) ? 2 : 1, random.oneIn(3) ? 4 : 2).list(root);
}

void reportWhole(Random& random) {
    for (int i = 0; i < 1500; ++i) {
        const std::string kind = i % 5 == 0 ? "old" : i % 5 < 3 ? "xml" : "binary";
        const std::string content = contentIn(random, kind);
        reportContent(kind, content, random.of(keys));
    }
}

void reportTruncated() {
    const Value root = {
        Value::Dictionary, "", {textValue("v"), textValue("1.2"), textValue("\u00E9"), textValue("\u00E9")}};
    const std::string body = "<dict><key>v</key><string>1.2</string></dict>";
    const Texts contents = {"<plist version=\"1.0\">" + body + "</plist>\n",
                            "<?xml version=\"1.0\"?><plist>" + body + "</plist>",
                            BinaryWriter(1, 1).list(root), oldStyle(root)};
    for (const std::string& content : contents) {
        for (std::size_t length = 0; length < content.size(); ++length) {
            reportContent("truncated", content.substr(0, length), "v");
        }
    }
}

void reportSpoiled(Random& random) {
    const Texts kinds = {"binary", "binary", "binary", "xml", "old"};
    for (int i = 0; i < 1500; ++i) {
        const std::string& kind = random.of(kinds);
        std::string content = contentIn(random, kind);
        for (std::size_t count = 1 + random.below(3); count > 0; --count) {
            const std::size_t place =
                random.oneIn(2)
                    ? random.below(content.size())
                    : content.size() - 1 - random.below(std::min<std::size_t>(content.size(), 40));
            content[place] = static_cast<char>(random.oneIn(2) ? random.below(256)
                                                               : static_cast<unsigned char>(content[place]) ^
                                                                     (1U << random.below(8)));
        }
        reportContent("spoiled " + kind, content, "v");
    }
}

void reportPlace(const std::string& name, const std::string& path, bool isOrdinary) {
    const auto work = [&] {
        if (isOrdinary) {
            becomeOrdinaryUser();
        }
        return textAt(path, "v");
    };
    report("plist", "place " + name + (isOrdinary ? " as user" : " as root"), answerOf(work));
}

void reportPlaces() {
    const support::TempFolder folder;
    ::chmod(folder.path().c_str(), 0755);
    const std::string content = "<plist><dict><key>v</key><string>found</string></dict></plist>";
    support::writeFile(folder / "list", content);
    support::writeFile(folder / "closed", content);
    support::writeFile(folder / "folder/list", content);
    ::chmod((folder / "closed").c_str(), 0);
    ::chmod((folder / "folder").c_str(), 0600);
    std::filesystem::create_symlink("list", folder / "link");
    std::filesystem::create_symlink("nowhere", folder / "dangling");
    ::mkfifo((folder / "pipe").c_str(), 0666);
    for (const std::string name :
         {"list", "list/", "missing", "folder", "folder/list", "closed", "link", "dangling", "pipe"}) {
        reportPlace(name, folder / name, false);
        reportPlace(name, folder / name, true);
    }
    reportPlace("nowhere at all", "", false);
    reportPlace("no end of zeros", "/dev/zero", false);
}

void reportOddities() {
    const Texts contents = {
        "",
        " ",
        "\n\n\t",
        "\uFEFF",
        "\uFEFF \n",
        "bplist00",
        "bplist",
        "<",
        "<plist/>",
        "<plist></plist>",
        "{}",
        "{ }",
        "()",
        "{ v = x; }",
        "v = x;",
        "{ v = x }",
        "{ v = \"\\U00e9\"; }",
        "// c\n{ v = x; }",
        "/* c */ { v = x; }",
        "{ v; }",
        "{\"v\": \"x\"}",
        "[\"v\"]",
        "text",
        "{ v = {v = x;}; }",
        "{ v = <00; }",
        "{ v = \"x; }",
        "{v=x;};",
        std::string("\0", 1),
        std::string("{v=x;}\0", 7),
        "<plist><dict><key>v</key><string>x</string></dict></plist>\0",
        "<!DOCTYPE plist [<!ENTITY e \"x\">]><plist><dict><key>v</key><string>&e;</string></dict></plist>",
        "<dict><key>v</key><string>x</string></dict>",
        "<plist><dict><key>v</key><string>x</string><key>v</key><string>y</string></dict></plist>",
        "<plist><string>a</string><dict><key>v</key><string>x</string></dict></plist>",
        "<plist><dict><key>v</key><string>x</string></dict><string>a</string></plist>",
        "<plist><dict><key> v </key><string>x</string></dict></plist>",
        "<plist><dict><string>x</string><key>v</key></dict></plist>",
        "<a:plist xmlns:a='u'><a:dict><a:key>v</a:key><a:string>x</a:string></a:dict></a:plist>",
        "<html><dict><key>v</key><string>x</string></dict></html>"};
    for (const std::string& content : contents) {
        reportContent("odd", content, "v");
    }
}

} // namespace

void reportPropertyLists() {
    Random random(4);
    propertyListText("/dev/null", "v");
    reportWhole(random);
    reportTruncated();
    reportSpoiled(random);
    reportPlaces();
    reportOddities();
}

} // namespace differential
