#include "ParsingCost.h"

#include <algorithm>
#include <array>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "TextScan.h"

namespace platform {

namespace {

/// What a piece of the document holds. Numbers grow no further than `most`, so that none runs over.
struct Amount {
    static constexpr std::uint64_t most = std::uint64_t(1) << 40;

    std::uint64_t bytes = 0;
    std::uint64_t markup = 0; ///< tags, comments, instructions, references, declarations and their parts
    std::uint64_t attributes = 0;
    std::uint64_t comparisons = 0;

    void add(const Amount& other, std::uint64_t times = 1) {
        const auto grow = [times](std::uint64_t& sum, std::uint64_t more) {
            sum = std::min(most, sum + std::min(more, most) * std::min(times, most >> 20));
        };
        grow(bytes, other.bytes);
        grow(markup, other.markup);
        grow(attributes, other.attributes);
        grow(comparisons, other.comparisons);
    }

    bool isTooMuch() const {
        constexpr std::uint64_t attributeMemory = 400;
        constexpr std::uint64_t mostComparisons = 2'000'000'000;
        const std::uint64_t copies = 4 * bytes; // the parser's and the tree's, each with the room to grow
        return copies + markup * markupMemory + attributes * attributeMemory > mostParsingMemory ||
               comparisons > mostComparisons;
    }
};

/// Takes `opening` and all up to `closing` off the text. False when it does not begin with that.
bool takeBetween(std::string_view& text, std::string_view opening, std::string_view closing) {
    if (!text.starts_with(opening)) {
        return false;
    }
    const std::size_t end = text.find(closing, opening.size());
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + closing.size());
    return true;
}

/// Takes a comment or an instruction off the text.
bool takeRemark(std::string_view& text) {
    return takeBetween(text, "<!--", "-->") || takeBetween(text, "<?", "?>");
}

/// The length of the reference to the character "&" at the beginning of the text. 0 without one.
std::size_t lengthOfAmpersand(std::string_view text) {
    const std::size_t end = text.find_first_of(";&", 1);
    if (end == std::string_view::npos || text[end] != ';' || !text.starts_with("&#")) {
        return 0;
    }
    std::string_view digits = text.substr(2, end - 2);
    const bool isHexadecimal = digits.starts_with('x');
    digits.remove_prefix(isHexadecimal ? 1 : 0);
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    return digits == (isHexadecimal ? "26" : "38") ? end + 1 : 0;
}

/// An entity's text as it is read where the entity is referred to: there "&#38;" begins a reference.
std::string replacementOf(std::string_view literal) {
    std::string result;
    for (result += takeUntil(literal, "&"); !literal.empty(); result += takeUntil(literal, "&")) {
        result += '&';
        literal.remove_prefix(std::max<std::size_t>(lengthOfAmpersand(literal), 1));
    }
    return result;
}

/// The entities that a document declares, and what they stand for.
class Entities {
  public:
    /// The first declaration of a name counts.
    void declare(std::string_view name, std::string_view literal) {
        entities.try_emplace(name, Entity{replacementOf(literal), std::nullopt});
    }

    /// What the references in `content` become.
    Amount referencesIn(std::string_view content, int depth = 0) {
        Amount sum;
        for (takeUntil(content, "&"); !content.empty(); takeUntil(content, "&")) {
            content.remove_prefix(1);
            sum.add(amountOf(content.substr(0, content.find_first_of(";&<")), depth));
        }
        return sum;
    }

  private:
    struct Entity {
        std::string replacement;
        std::optional<Amount> amount;
    };

    static bool isCharacter(std::string_view name) {
        constexpr std::array<std::string_view, 5> known = {"lt", "gt", "amp", "quot", "apos"};
        return name.starts_with('#') || std::find(known.begin(), known.end(), name) != known.end();
    }

    Amount amountOf(std::string_view name, int depth) {
        constexpr int deepest = 40; // that parsers follow
        const auto found = entities.find(name);
        if (found == entities.end()) {
            return {.markup = isCharacter(name) ? 0U : 1U};
        }
        Entity& entity = found->second;
        if (!entity.amount) {
            entity.amount =
                Amount{.bytes = Amount::most}; // as long as it is unknown: for what refers to itself
            if (depth < deepest) {
                entity.amount = amountFor(entity.replacement, depth);
            }
        }
        return *entity.amount;
    }

    Amount amountFor(const std::string& text, int depth) {
        const auto count = [&text](char c) {
            return static_cast<std::uint64_t>(std::count(text.begin(), text.end(), c));
        };
        Amount amount = referencesIn(text, depth + 1);
        amount.add({.bytes = text.size(),
                    .markup = 1 + count('<'),
                    .attributes = count('='),
                    .comparisons = count('=') * count('=')});
        return amount;
    }

    std::map<std::string_view, Entity> entities;
};

/// Reads a document once and adds up what its parts cost.
class Estimate {
  public:
    explicit Estimate(std::string_view document) : text(document) { sum.bytes = text.size(); }

    bool isTooMuch() {
        constexpr std::string_view mark = "\xEF\xBB\xBF";
        text.remove_prefix(text.starts_with(mark) ? mark.size() : 0);
        for (skipBlanks(text); takeRemark(text); skipBlanks(text)) {
            ++sum.markup;
        }
        hasType = text.starts_with("<!DOCTYPE");
        if (hasType && !takeDocumentType()) {
            return true;
        }
        while (!text.empty() && !sum.isTooMuch()) {
            takeContent();
        }
        Amount each = preset;
        each.comparisons = namespaces;
        sum.add(each, tagCount + sum.attributes);
        return sum.isTooMuch();
    }

  private:
    // ---- The document type

    bool takeDocumentType() {
        if (!takeUpToQuoted("[>")) {
            return false;
        }
        if (text.front() == '>') {
            return true;
        }
        text.remove_prefix(1);
        std::uint64_t parts = 0;
        for (skipBlanks(text); !text.starts_with(']'); skipBlanks(text)) {
            ++sum.markup;
            if (sum.isTooMuch() || (!takeRemark(text) && !takeDeclaration(parts))) {
                return false;
            }
        }
        sum.add({.markup = parts, .comparisons = parts * parts});
        for (const std::string_view value : presetValues) {
            preset.add({.bytes = value.size(), .attributes = 1});
            preset.add(entities.referencesIn(value));
        }
        return takeUpToQuoted(">");
    }

    /// Takes one declaration. False for a parameter entity's, and for what is no declaration.
    bool takeDeclaration(std::uint64_t& parts) {
        constexpr std::string_view entity = "<!ENTITY";
        if (text.starts_with(entity)) {
            text.remove_prefix(entity.size());
            ++parts;
            return takeEntity();
        }
        const bool presets = text.starts_with("<!ATTLIST");
        const std::string_view whole = text;
        if (!text.starts_with("<!") || !takeUpToQuoted(">", presets)) {
            return false;
        }
        text.remove_prefix(1);
        const std::string_view declaration = whole.substr(0, whole.size() - text.size());
        parts +=
            1 + static_cast<std::uint64_t>(std::count_if(declaration.begin(), declaration.end(), [](char c) {
                return c == '|' || c == ',' || c == '(' || c == '\'' || c == '"';
            }));
        return true;
    }

    bool takeEntity() {
        skipBlanks(text);
        const std::string_view name = takeUntil(text, blanks);
        if (name.empty() || name.front() == '%') {
            return false;
        }
        skipBlanks(text);
        if (const auto literal = takeLiteral(text)) {
            entities.declare(name, *literal);
        }
        const bool isWhole = takeUpToQuoted(">");
        text.remove_prefix(isWhole ? 1 : 0);
        return isWhole;
    }

    /// Takes all before one of `ends` that is in no quotes. False when there is none.
    bool takeUpToQuoted(std::string_view ends, bool presets = false) {
        const std::string stops = std::string(ends) + "\"'";
        for (takeUntil(text, stops); !text.empty(); takeUntil(text, stops)) {
            if (ends.find(text.front()) != std::string_view::npos) {
                return true;
            }
            const auto literal = takeLiteral(text);
            if (!literal) {
                return false;
            }
            if (presets) {
                presetValues.push_back(*literal);
            }
        }
        return false;
    }

    // ---- The content

    /// Takes the text up to the next markup, and that.
    void takeContent() {
        addReferencesIn(takeUntil(text, "<"));
        sum.markup += text.empty() ? 0 : 1;
        if (!text.empty() && !takeRemark(text) && !takeBetween(text, "<![CDATA[", "]]>")) {
            takeTag();
        }
    }

    /// A document without a type declares no entities, so that its references stand for single characters.
    void addReferencesIn(std::string_view characters) {
        if (hasType) {
            sum.add(entities.referencesIn(characters));
        }
    }

    void takeTag() {
        constexpr std::string_view stops = ">='\"";
        std::uint64_t attributes = 0;
        ++tagCount;
        for (std::string_view name = takeUntil(text, stops); !text.empty() && text.front() != '>';
             name = takeUntil(text, stops)) {
            if (text.front() == '=') {
                ++attributes;
                namespaces += name.find("xmlns") == std::string_view::npos ? 0 : 1;
                text.remove_prefix(1);
            } else if (const auto literal = takeLiteral(text)) {
                addReferencesIn(*literal);
            } else { // no document
                text = {};
            }
        }
        sum.add({.attributes = attributes, .comparisons = attributes * attributes});
    }

    std::string_view text;
    Amount sum;
    bool hasType = false;
    std::vector<std::string_view> presetValues; ///< of attributes that an element may get
    Amount preset;
    Entities entities;
    std::uint64_t tagCount = 0;
    std::uint64_t namespaces = 0;
};

} // namespace

bool mayCostTooMuch(std::string_view text) try {
    return Estimate(text).isTooMuch();
} catch (const std::exception&) { // no memory to tell
    return true;
}

} // namespace platform
