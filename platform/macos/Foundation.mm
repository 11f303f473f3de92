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
    while (error && ![[error domain] isEqualToString:NSPOSIXErrorDomain]) {
        error = [[error userInfo] objectForKey:NSUnderlyingErrorKey];
    }
    return error ? std::error_code(static_cast<int>([error code]), std::generic_category())
                 : std::make_error_code(std::errc::io_error);
}

} // namespace platform
