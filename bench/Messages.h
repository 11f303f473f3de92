#pragma once

#include <array>
#include <cstdio>
#include <string>
#include <string_view>

namespace bench {

/// The kinds of messages that are logged.
enum class Kind { brief, sixArguments, tags, longText };

inline constexpr std::array kKinds = {Kind::brief, Kind::sixArguments, Kind::tags, Kind::longText};

inline const char* nameOf(Kind kind) {
    switch (kind) {
    case Kind::brief:
        return "short";
    case Kind::sixArguments:
        return "six arguments";
    case Kind::tags:
        return "tags";
    case Kind::longText:
        break;
    }
    return "4,000 characters";
}

/// Which record it is: every message names both numbers, in a text of the same length.
struct Identity {
    int process;
    int sequence;
};

inline constexpr int kSequenceDigits = 7;
inline constexpr int kProcessDigits = 2;
inline constexpr std::string_view kMark = "file ";                          ///< before the sequence number
inline constexpr std::string_view kIdentity = "file 0000000 of process 00"; ///< as every message has it
inline constexpr std::size_t kProcessPlace = kIdentity.size() - kProcessDigits; ///< in the identity
inline constexpr std::size_t kLongText = 4000;
inline constexpr const char* kSecret = "swordfish";
inline constexpr const char* kMask = "****";

/// One format in the two languages of the contenders.
struct Format {
    const char* percent;
    const char* braces;
};

/// Calls `print` with the format and the arguments of a message. `secret` is the content of the elements that
/// a log masks.
template <class Print> void render(Kind kind, Identity id, const char* secret, Print print) {
    static const std::string filler(kLongText - kIdentity.size() - 2, 'x');
    switch (kind) {
    case Kind::brief:
        return print(Format{"Successfully created HCD Ostrel Specifier file %07d of process %02d",
                            "Successfully created HCD Ostrel Specifier file {:07d} of process {:02d}"},
                     id.sequence, id.process);
    case Kind::sixArguments:
        return print(Format{"Specifier file %07d of process %02d: %s at %s, %ld bytes, mode %o",
                            "Specifier file {:07d} of process {:02d}: {} at {}, {} bytes, mode {:o}"},
                     id.sequence, id.process, "halcyra.xml", "/Library/Application Support/Korvane", 48211L,
                     0644U);
    case Kind::tags:
        return print(Format{"<request><user>%s</user><password>%s</password><host>proxy.example</host>"
                            "<port>8080</port><note>file %07d of process %02d</note></request>",
                            "<request><user>{}</user><password>{}</password><host>proxy.example</host>"
                            "<port>8080</port><note>file {:07d} of process {:02d}</note></request>"},
                     secret, secret, id.sequence, id.process);
    case Kind::longText:
        return print(Format{"file %07d of process %02d: %s", "file {:07d} of process {:02d}: {}"},
                     id.sequence, id.process, filler.c_str());
    }
}

inline std::string messageText(Kind kind, Identity id, const char* secret) {
    char text[2 * kLongText];
    render(kind, id, secret, [&text](Format format, auto... arguments) {
        std::snprintf(text, sizeof text, format.percent, arguments...);
    });
    return text;
}

} // namespace bench
