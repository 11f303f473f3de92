#include <fstream>
#include <sstream>

#include "Assumption.h"
#include "Cocoa.h"

namespace assumptions {

namespace {

/// A row of the table that all hosts' path operations are held to.
struct Row {
    std::string operation;
    std::string input;
    std::string argument;
    std::string expected;
    std::string source;
};

std::string answerTo(const Row& row) {
    const Pool pool;
    const SEL operation = NSSelectorFromString(objectOf(row.operation));
    const bool takesOne = row.operation.back() == ':';
    return textOf(takesOne ? [objectOf(row.input) performSelector:operation withObject:objectOf(row.argument)]
                           : [objectOf(row.input) performSelector:operation]);
}

Assumption assumptionOf(const Row& row) {
    const std::string argument = row.operation.back() == ':' ? " \"" + row.argument + "\"" : "";
    const bool isUnsure = row.source.find("UNSURE") != std::string::npos;
    return {row.operation + " \"" + row.input + "\"" + argument + (isUnsure ? " (unsure)" : ""),
            {row.expected},
            [row] { return answerTo(row); }};
}

Row rowOf(const std::string& line) {
    Row row;
    std::istringstream fields(line);
    for (std::string* field : {&row.operation, &row.input, &row.argument, &row.expected, &row.source}) {
        std::getline(fields, *field, '\t');
    }
    return row;
}

Assumptions rowsOfTheTable() {
    Assumptions all;
    std::ifstream table(HCD_PATH_RULES);
    std::string line;
    std::getline(table, line); // the heading
    while (std::getline(table, line)) {
        all.push_back(assumptionOf(rowOf(line)));
    }
    return all;
}

Found innerSlashes() {
    const Pool pool;
    return textOf([@"/a//b.x" stringByDeletingPathExtension]);
}

Found notUtf8() {
    const Pool pool;
    return textOf([NSString stringWithUTF8String:"a\xff"]);
}

Found bytesThatAreNotUtf8() {
    const Pool pool;
    NSString* const text = [[[NSString alloc] initWithBytes:"\xed\xa0\x80"
                                                     length:3
                                                   encoding:NSUTF8StringEncoding] autorelease];
    return textOf(text);
}

Found noText() {
    const Pool pool;
    const char* volatile none = nullptr;
    return eitherOf(raises([&] { [NSString stringWithUTF8String:none]; }), "raises", "accepted");
}

} // namespace

Assumptions aboutPaths() {
    Assumptions all = rowsOfTheTable();
    all.push_back(
        {"path table has its rows", {"104"}, [] { return std::to_string(rowsOfTheTable().size()); }});
    all.push_back({"deleting an extension behind two slashes", {"/a/b", "/a//b"}, innerSlashes});
    all.push_back({"a text that is not UTF-8", {"(nil)"}, notUtf8});
    all.push_back({"half a surrogate pair in UTF-8", {"(nil)"}, bytesThatAreNotUtf8});
    all.push_back({"a text from a null pointer", {"raises"}, noText});
    return all;
}

} // namespace assumptions
