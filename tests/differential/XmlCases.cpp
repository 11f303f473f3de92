#include <algorithm>

#include "Cases.h"
#include "platform/XmlTree.h"

using namespace platform;

namespace differential {

namespace {

using Texts = std::vector<std::string>;

const Texts names = {"a", "b", "key", "Name", "_x", "a.b-c", "\u00E9", "n:a", "m:b", "xml:a", "n:a:b", "x1"};
const Texts attributeNames = {"x",       "y",   "xml:lang", "xml:space", "xml:id", "xmlns",
                              "xmlns:n", "n:x", "m:x",      "\u00E9",    "id",     "xmlns:m"};
const Texts attributeValues = {"",     "1",          "preserve", "default", "urn:n", "urn:m",
                               "a b",  " a  b ",     "&amp;",    "&lt;",    "&#65;", "&quot;",
                               "\n\t", "&#10;&#13;", "\u00E9",   "&#xE9;",  "&e;",   ">"};
const Texts texts = {"text",      " ",      "\n  ",   "\t",     "a b", "&amp;", "&lt;&gt;", "&quot;&apos;",
                     "&#65;",     "\u00E9", "&#xE9;", "&e;",    "&f;", "\"'",   ">",        "\U0001F600",
                     "&#x1F600;", "&#13;",  "\r\n",   "&#160;", "1",   "&#32;", "]]",       "\u00A0"};
const Texts spoilers = {"<",
                        ">",
                        "&",
                        "\"",
                        "'",
                        "/",
                        "=",
                        "]]>",
                        "--",
                        "<!",
                        "<?",
                        "\x01",
                        "\xFF",
                        "&#0;",
                        "&#xFFFE;",
                        "\xEF\xBF\xBE",
                        "\xED\xA0\x80",
                        "<a>",
                        "</a>",
                        "<!DOCTYPE a>",
                        "<?xml version='1.0'?>",
                        "&undefined;",
                        "\uFEFF",
                        "x",
                        " "};

/// Writes documents.
class Writer {
  public:
    explicit Writer(Random& source) : random(source) {}

    std::string document() {
        return sometimes(40, "\uFEFF") + declaration() + misc() + documentType() + misc() + element(0) +
               misc();
    }

    std::string spoiled(std::string text) {
        for (std::size_t count = 1 + random.below(2); count > 0 && !text.empty(); --count) {
            spoilOnce(text);
        }
        return text;
    }

  private:
    std::string sometimes(std::size_t chances, const std::string& text) {
        return random.oneIn(chances) ? text : "";
    }

    std::string declaration() {
        const Texts versions = {"1.0", "1.0", "1.0", "1.0", "1.1", "2.0"};
        const Texts encodings = {"UTF-8", "UTF-8", "utf-8", "ISO-8859-1", "UTF-16", "US-ASCII", "unknown"};
        if (random.oneIn(2)) {
            return "";
        }
        const std::string encoding = random.oneIn(3) ? "" : " encoding=\"" + random.of(encodings) + "\"";
        const std::string alone =
            random.oneIn(3) ? std::string(" standalone='") + (random.oneIn(2) ? "yes'" : "no'") : "";
        return "<?xml version=\"" + random.of(versions) + "\"" + encoding + alone + "?>" + sometimes(2, "\n");
    }

    std::string documentType() {
        const Texts types = {"<!DOCTYPE a>",
                             "<!DOCTYPE a SYSTEM \"nowhere.dtd\">",
                             "<!DOCTYPE a PUBLIC \"-//N//X\" \"http://localhost:1/x.dtd\">",
                             "<!DOCTYPE a [<!ENTITY e \"stands for\">]>",
                             "<!DOCTYPE a [<!ENTITY e \"<b>in</b>\"><!ENTITY f \"&e;\">]>",
                             "<!DOCTYPE a [<!ENTITY e SYSTEM \"/etc/hostname\">]>",
                             "<!DOCTYPE a [<!ATTLIST a x CDATA \"preset\">]>",
                             "<!DOCTYPE a [<!ELEMENT a (b*)><!-- c --><?p i?><!NOTATION n SYSTEM \"n\">]>",
                             "<!DOCTYPE a [<!ENTITY % p \"<!ENTITY e 'q'>\"> %p;]>",
                             "<!DOCTYPE a [<!ENTITY e \"&f;\"><!ENTITY f \"&e;\">]>"};
        return random.oneIn(4) ? random.of(types) + sometimes(2, "\n") : "";
    }

    std::string misc() {
        const Texts parts = {"<!-- c -->", "<?target data?>", "\n", " ", "<!---->", "<?t?>"};
        return random.oneIn(4) ? random.textOf(parts, 1, 3) : "";
    }

    std::string attributes() {
        std::string result;
        for (std::size_t count = random.below(4); count > 0; --count) {
            const std::string quote = random.oneIn(4) ? "'" : "\"";
            result += " " + random.of(attributeNames) + "=" + quote + random.of(attributeValues) + quote;
        }
        return result;
    }

    std::string content(int depth) {
        const Texts others = {"<!-- in -->",   "<![CDATA[<raw>&]]>", "<![CDATA[]]>",
                              "<![CDATA[ ]]>", "<?pi x?>",           "<!--a-->"};
        switch (random.below(depth < 4 ? 6 : 4)) {
        case 0:
            return random.of(others);
        case 1:
        case 2:
            return random.textOf(texts, 1, 3);
        case 3:
            return "\n ";
        default:
            return element(depth + 1);
        }
    }

    std::string element(int depth) {
        const std::string name = random.of(names);
        const std::string head = "<" + name + (random.oneIn(3) ? attributes() : "");
        if (random.oneIn(4)) {
            return head + "/>";
        }
        std::string result = head + ">";
        for (std::size_t count = random.below(4); count > 0; --count) {
            result += content(depth);
        }
        return result + "</" + name + sometimes(8, " ") + ">";
    }

    void spoilOnce(std::string& text) {
        const std::size_t place = random.below(text.size());
        switch (random.below(4)) {
        case 0:
            text.erase(place, 1 + random.below(3));
            break;
        case 1:
            text.resize(place);
            break;
        default:
            text.insert(place, random.of(spoilers));
        }
    }

    Random& random;
};

/// The printed document. Hosts may differ in one thing: in which letters the declaration names the encoding.
std::string printed(void* document) {
    std::string text = printXml(document).value_or("|nothing|");
    const std::size_t name = text.find(" encoding=\"utf-8\"");
    if (name < text.find("?>")) {
        text.replace(name, 17, " encoding=\"UTF-8\"");
    }
    return escaped(text);
}

std::string answerTo(const std::string& text) {
    const XmlParseResult result = parseXml(text.c_str());
    const std::string refusal = result.raised ? "|raised|" : result.error ? "|refused|" : "";
    const std::string answer = refusal.empty() ? printed(result.document) : refusal;
    const std::string root = result.document && !xmlRootElement(result.document) ? "|no root|" : "";
    releaseXml(result.document);
    return answer + root;
}

/// One step of a building: a new element, or something done to those of the numbers `first` and `second`.
/// Number 0 is the document, 1 its root, 2 nothing, and the others are the elements in the order in which
/// they were made.
struct Step {
    enum Kind { Create, Append, SetAttribute } kind;
    std::size_t first;
    std::size_t second;
    std::string name;
    std::string value;
};

std::string nameIn(Random& random) {
    const Texts odd = {"",   "1a", "a b", "-a",  "<a>",   "a&b",   "\xFF",
                       ":a", "a:", ":",   "a\n", "xmlns", "n:a:b", "\uFEFFa"};
    return random.oneIn(4) ? random.of(odd) : random.of(random.oneIn(2) ? names : attributeNames);
}

std::string valueIn(Random& random) {
    const Texts odd = {"\x01", "\xFF",    "&",      "&amp;",        "&#65;",  "<b/>", "]]>",    "\r\n",
                       "\t",   "\"'",     "\uFEFF", "\xEF\xBF\xBF", "&e;",    " ",    "\u00E9", "\U0001F600",
                       "%",    "a\u0308", "\x7F",   "\u0085",       "\u2028", "; &lt"};
    const Texts plain = {"plain", "1.0", "", "a b", "urn:n"};
    return random.textOf(random.oneIn(2) ? odd : plain, 0, 3);
}

Step stepIn(Random& random, std::size_t count) {
    const auto any = [&] { return random.oneIn(12) ? random.below(3) : 1 + random.below(count - 1); };
    const std::size_t choice = count < 5 ? 0 : random.below(6);
    const Step::Kind kind = choice < 2 ? Step::Create : choice < 4 ? Step::Append : Step::SetAttribute;
    const std::size_t first = kind == Step::Append && random.oneIn(2) ? 1 : any();
    const std::size_t second = any();
    const std::string name = nameIn(random);
    return {kind, first, second, name, valueIn(random)};
}

std::vector<Step> stepsIn(Random& random) {
    std::vector<Step> steps;
    std::size_t count = 3;
    for (std::size_t left = 1 + random.below(9); left > 0; --left) {
        steps.push_back(stepIn(random, count));
        count += steps.back().kind == Step::Create ? 1 : 0;
    }
    return steps;
}

std::string described(const Step& step) {
    const std::string named = " " + escaped(step.name) + " |" + escaped(step.value) + "|";
    switch (step.kind) {
    case Step::Create:
        return "; create" + named;
    case Step::Append:
        return "; append " + std::to_string(step.first) + " " + std::to_string(step.second);
    default:
        return "; set " + std::to_string(step.first) + named;
    }
}

bool perform(const Step& step, std::vector<void*>& handles) {
    switch (step.kind) {
    case Step::Create:
        handles.push_back(createXmlElement(step.name.c_str(), step.value.c_str()));
        return handles.back() != nullptr;
    case Step::Append:
        return appendXmlChild(handles[step.first], handles[step.second]);
    default:
        return setXmlAttribute(handles[step.first], step.name.c_str(), step.value.c_str());
    }
}

/// Which of the steps succeeded, and what the document is in the end.
std::string built(const std::string& start, const std::vector<Step>& steps) {
    void* const document = parseXml(start.c_str()).document;
    std::vector<void*> handles = {document, xmlRootElement(document), nullptr};
    std::string outcome;
    for (const Step& step : steps) {
        outcome += perform(step, handles) ? '+' : '-';
    }
    outcome += " " + printed(document);
    handles.erase(handles.begin() + 1);
    std::for_each(handles.begin(), handles.end(), releaseXml);
    return outcome;
}

void reportBuilding(Random& random) {
    const Texts starts = {"<r/>", "<r/>", "<r xmlns:n='urn:n' x='1'><n:a/>text</r>",
                          "<r xmlns='urn:d'><k y='2'/></r>"};
    const std::string start = random.of(starts);
    const auto steps = stepsIn(random);
    std::string input = "build |" + start + "|";
    for (const Step& step : steps) {
        input += described(step);
    }
    report("xml", input, answerOf([&] { return built(start, steps); }));
}

} // namespace

void reportXml() {
    Random random(2);
    Writer writer(random);
    releaseXml(parseXml("<a/>").document);
    for (int i = 0; i < 1500; ++i) {
        const std::string whole = writer.document();
        const std::string text = i % 3 == 0 ? writer.spoiled(whole) : whole;
        report("xml", (i % 3 == 0 ? "spoiled |" : "whole |") + escaped(text) + "|",
               answerOf([&] { return answerTo(text); }));
    }
    for (int i = 0; i < 1000; ++i) {
        reportBuilding(random);
    }
}

} // namespace differential
