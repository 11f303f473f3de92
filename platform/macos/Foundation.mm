#include "Foundation.h"

#ifdef GNUSTEP
#include <libxml/globals.h>
#include <libxml/parser.h>

extern "C" const char* GSPathHandling(const char* mode);
#endif

namespace platform {

namespace {

#ifdef GNUSTEP
void ignoreXmlError(void* /*context*/, const char* /*format*/, ...) {}

xmlParserInput* loadNothing(const char* /*address*/, const char* /*id*/, xmlParserCtxt* /*context*/) {
    return nullptr;
}

/// Unless it is told otherwise, this Foundation takes backslashes and drive letters for parts of paths,
/// reports on standard error what its callers learn from the result, and reads the external entities of an
/// XML document whatever its callers ask for.
[[maybe_unused]] const bool behavesLikeTheHomePlatforms = [] {
    GSPathHandling("unix");
    _NSLog_printf_handler = [](NSString*) {};
    xmlSetGenericErrorFunc(nullptr, ignoreXmlError);
    xmlThrDefSetGenericErrorFunc(nullptr, ignoreXmlError);
    xmlSetExternalEntityLoader(loadNothing);
    return true;
}();
#endif

/// What the framework's own code for an error says of its cause.
std::errc meaningOf(NSError* error) {
    const NSInteger code = [[error domain] isEqualToString:NSCocoaErrorDomain] ? [error code] : 0;
    switch (code) {
    case 4:   // no such file, on writing
    case 260: // and on reading
        return std::errc::no_such_file_or_directory;
    case 257: // no permission to read
    case 513: // and to write
        return std::errc::permission_denied;
    case 514:
        return std::errc::filename_too_long;
    case 516:
        return std::errc::file_exists;
    case 640:
        return std::errc::no_space_on_device;
    case 642:
        return std::errc::read_only_file_system;
    default:
        return std::errc::io_error;
    }
}

} // namespace

NSString* stringOf(std::string_view text) {
    NSString* const string = [[[NSString alloc] initWithBytes:text.data()
                                                       length:text.size()
                                                     encoding:NSUTF8StringEncoding] autorelease];
    return string && textOf(string) == text ? string : nil;
}

std::string textOf(NSString* string) {
    const char* const text = [string UTF8String];
    return text ? std::string(text, [string lengthOfBytesUsingEncoding:NSUTF8StringEncoding]) : "";
}

NSString* pathOf(const char* path) { return stringOf(path); }

std::error_code systemErrorOf(NSError* error) {
    NSError* cause = error;
    while (cause && ![[cause domain] isEqualToString:NSPOSIXErrorDomain]) {
        cause = [[cause userInfo] objectForKey:NSUnderlyingErrorKey];
    }
    return cause ? std::error_code(static_cast<int>([cause code]), std::generic_category())
                 : std::make_error_code(meaningOf(error));
}

} // namespace platform
