#include "XmlForm.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <exception>
#include <optional>
#include <system_error>
#include <unordered_set>
#include <vector>

#include "TextScan.h"
#include "XmlRules.h"

namespace platform {

namespace {

constexpr std::string_view digits = "0123456789";
constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";

/// Whether each character of `text` is in one of the two sets.
bool hasOnly(std::string_view text, std::string_view some, std::string_view others = "") {
    return std::all_of(text.begin(), text.end(), [&](char c) {
        return some.find(c) != std::string_view::npos || others.find(c) != std::string_view::npos;
    });
}

/// Whether "&" and ";" around `name` stand for a character.
bool isReference(std::string_view name) {
    constexpr std::array<std::string_view, 5> known = {"lt", "gt", "amp", "quot", "apos"};
    if (!take(name, "#")) {
        return std::find(known.begin(), known.end(), name) != known.end();
    }
    const int base = take(name, "x") ? 16 : 10;
    std::uint32_t number = 0;
    const char* const end = name.data() + name.size();
    const auto [rest, error] = std::from_chars(name.data(), end, number, base);
    return error == std::errc() && rest == end && isXmlCharacter(number);
}

bool hasOnlyReferences(std::string_view text) {
    for (takeUntil(text, "&"); take(text, "&"); takeUntil(text, "&")) {
        const auto name = takeThrough(text, ";");
        if (!name || !isReference(*name)) {
            return false;
        }
    }
    return true;
}

bool isCharacterData(std::string_view text) {
    return text.find("]]>") == std::string_view::npos && hasOnlyReferences(text);
}

/// Whether none of `characters` is in the text. Readers that are less strict take these for the beginning or
/// the end of something wherever they are, and so would read another document than was checked.
bool isFreeOf(std::string_view characters, std::string_view text) {
    return text.find_first_of(characters) == std::string_view::npos;
}

bool isAttributeValue(std::string_view text) { return isFreeOf("<>\"", text) && hasOnlyReferences(text); }

bool isVersion(std::string_view version) { return take(version, "1.") && hasOnly(version, digits); }

bool isEncodingName(std::string_view name) {
    return hasOnly(name, letters, "0123456789._-") && hasOnly(name.substr(0, 1), letters) && !name.empty();
}

bool isPublicIdentifier(std::string_view text) {
    return hasOnly(text, letters, " \r\n0123456789-'()+,./:=?;!*#@$_%");
}

/// An instruction may not be called "xml", in whatever letters.
bool isInstructionName(std::string_view name) {
    const bool isReserved = name.size() == 3 && hasOnly(name.substr(0, 1), "xX") &&
                            hasOnly(name.substr(1, 1), "mM") && hasOnly(name.substr(2), "lL");
    return isXmlName(name) && !isReserved;
}

/// Reads a document once. Each part is taken off the text, which is empty at the end. Whoever finds a mistake
/// returns false, and nothing is read after that.
class Form {
  public:
    explicit Form(std::string_view document) : text(document) {}

    bool isWhole() {
        return takeDeclaration() && takeRemarks() && takeDocumentType() && takeRemarks() && takeRoot() &&
               takeRemarks() && text.empty();
    }

  private:
    struct Attribute {
        std::string_view name;
        std::string_view value;
    };

    // ---- Before and after the root element

    bool takeDeclaration() {
        std::string_view rest = text;
        if (!take(rest, "<?xml") || !skipBlanks(rest)) {
            return true;
        }
        take(text, "<?xml");
        const auto version = takeSetting("version");
        const auto encoding = takeSetting("encoding");
        const auto standalone = takeSetting("standalone");
        skipBlanks(text);
        return version && isVersion(*version) && (!encoding || isEncodingName(*encoding)) &&
               (!standalone || *standalone == "yes" || *standalone == "no") && take(text, "?>");
    }

    /// Takes a part of the declaration and returns its value. Takes nothing when it is not there.
    std::optional<std::string_view> takeSetting(std::string_view name) {
        const std::string_view before = text;
        const auto setting = skipBlanks(text) ? takeAttribute() : std::nullopt;
        if (!setting || setting->name != name) {
            text = before;
            return std::nullopt;
        }
        return setting->value;
    }

    /// Takes blanks, comments and instructions.
    bool takeRemarks() {
        for (skipBlanks(text); text.starts_with("<!--") || text.starts_with("<?"); skipBlanks(text)) {
            if (!takeMarkup()) {
                return false;
            }
        }
        return true;
    }

    bool takeDocumentType() {
        if (!take(text, "<!DOCTYPE")) {
            return true;
        }
        skipBlanks(text);
        const bool isNamed = isXmlName(takeUntil(text, " \t\r\n[>"));
        skipBlanks(text);
        const bool isComplete = take(text, "PUBLIC") ? takeIdentifier(isPublicIdentifier) && takeIdentifier()
                                : take(text, "SYSTEM") ? takeIdentifier()
                                                       : true;
        skipBlanks(text);
        return isNamed && isComplete && take(text, ">");
    }

    bool takeIdentifier(bool (*isRight)(std::string_view) = isXmlText) {
        const auto literal = skipBlanks(text) ? takeLiteral(text) : std::nullopt;
        return literal && isFreeOf("<>[]\"", *literal) && isRight(*literal);
    }

    // ---- The elements

    bool takeRoot() {
        if (!text.starts_with('<')) {
            return false;
        }
        do {
            if (!isCharacterData(takeUntil(text, "<")) || !takeMarkup()) {
                return false;
            }
        } while (!open.empty());
        return true;
    }

    bool takeMarkup() {
        if (take(text, "<!--")) {
            return takeThrough(text, "--") && take(text, ">");
        }
        if (take(text, "<?")) {
            auto instruction = takeThrough(text, "?>");
            return instruction && isFreeOf("\"", *instruction) &&
                   isInstructionName(takeUntil(*instruction, blanks));
        }
        if (take(text, "<![CDATA[")) {
            return !open.empty() && takeThrough(text, "]]>");
        }
        return take(text, "</") ? takeEndTag() : take(text, "<") && takeStartTag();
    }

    bool takeStartTag() {
        const std::string_view name = takeName();
        if (!isXmlName(name) || open.size() >= deepestXml) {
            return false;
        }
        std::unordered_set<std::string_view> names;
        bool isApart = skipBlanks(text);
        while (!text.starts_with('>') && !text.starts_with("/>")) {
            const auto attribute = isApart ? takeAttribute() : std::nullopt;
            if (!attribute || !isXmlName(attribute->name) || !isAttributeValue(attribute->value) ||
                !names.insert(attribute->name).second) {
                return false;
            }
            isApart = skipBlanks(text);
        }
        if (!take(text, "/")) {
            open.push_back(name);
        }
        return take(text, ">");
    }

    bool takeEndTag() {
        const std::string_view name = takeName();
        skipBlanks(text);
        if (open.empty() || open.back() != name) {
            return false;
        }
        open.pop_back();
        return take(text, ">");
    }

    std::string_view takeName() { return takeUntil(text, " \t\r\n=/<>\"'"); }

    std::optional<Attribute> takeAttribute() {
        const std::string_view name = takeName();
        skipBlanks(text);
        if (!take(text, "=")) {
            return std::nullopt;
        }
        skipBlanks(text);
        const auto value = takeLiteral(text);
        return value ? std::optional(Attribute{name, *value}) : std::nullopt;
    }

    std::string_view text;
    std::vector<std::string_view> open; ///< the names of the elements that are not closed yet
};

} // namespace

bool isWholeXml(std::string_view document) try {
    return isXmlText(document) && Form(document).isWhole();
} catch (const std::exception&) { // no memory to tell
    return false;
}

} // namespace platform
