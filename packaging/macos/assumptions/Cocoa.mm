#include "Cocoa.h"

namespace assumptions {

NSString* objectOf(const std::string& text) {
    NSString* const string = [NSString stringWithUTF8String:text.c_str()];
    return string ? string : @"";
}

std::string textOf(NSString* string) {
    const char* const text = [string UTF8String];
    return text ? text : "(nil)";
}

} // namespace assumptions
