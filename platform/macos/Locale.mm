#include "platform/Locale.h"

#include "Foundation.h"

namespace platform {

std::vector<std::string> preferredLanguages() {
    const AutoreleasePool pool;
    std::vector<std::string> languages;
    exceptionIn([&] {
        NSArray* const tags = [NSLocale preferredLanguages];
        for (NSUInteger i = 0; i < [tags count]; ++i) {
            languages.push_back(textOf([tags objectAtIndex:i]));
        }
    });
    return languages;
}

std::string currentLocaleIdentifier() {
    const AutoreleasePool pool;
    return valueOr(std::string(), [] { return textOf([[NSLocale currentLocale] localeIdentifier]); });
}

} // namespace platform
