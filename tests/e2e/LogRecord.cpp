#include "e2e/LogRecord.h"

#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

namespace e2e {

namespace {

const std::string Separator = " | ";
const std::size_t FieldCount = 10;

/// The fields of a line; the last one, the message, may hold separators of its own.
std::vector<std::string> fieldsOf(const std::string& line) {
    std::vector<std::string> fields;
    std::size_t start = 0;
    std::size_t end = line.find(Separator);
    while (end != std::string::npos && fields.size() < FieldCount - 1) {
        fields.push_back(line.substr(start, end - start));
        start = end + Separator.size();
        end = line.find(Separator, start);
    }
    fields.push_back(line.substr(start));
    return fields;
}

bool bracketed(const std::string& text) {
    return text.size() > 2 && text.front() == '[' && text.back() == ']';
}

LogRecord recordOf(const std::vector<std::string>& fields) {
    LogRecord record;
    record.time = fields[0];
    record.level = fields[1].substr(1, fields[1].size() - 2);
    std::copy_n(fields.begin() + 2, 6, record.contexts.begin());
    record.thread = fields[8];
    record.message = fields[9];
    return record;
}

} // namespace

std::vector<LogRecord> recordsOf(const std::string& log) {
    EXPECT_TRUE(log.empty() || log.back() == '\n') << "the last line is not whole";
    std::vector<LogRecord> records;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        const std::vector<std::string> fields = fieldsOf(line);
        if (fields.size() == FieldCount && bracketed(fields[1])) {
            records.push_back(recordOf(fields));
        } else {
            ADD_FAILURE() << "no whole record: " << line;
        }
    }
    return records;
}

std::vector<std::string> toldBy(const std::string& log) {
    std::vector<std::string> told;
    for (const LogRecord& record : recordsOf(log)) {
        told.push_back(record.level + " " + record.message);
    }
    return told;
}

std::string parsing(int count) {
    return "INFO Parsing the command line provided. Number of command line arguments is " +
           std::to_string(count);
}

} // namespace e2e
