#include "platform/Paths.h"

#include "../posix/PathRules.h"
#include "Foundation.h"

namespace platform {

namespace {

/// `path` for the framework. Null when that cannot hold it, or takes it for something else.
NSString* heldPath(std::string_view path) {
#ifdef GNUSTEP // takes backslashes for slashes in places, and U+FFFE at the start for a byte order mark
    if (path.find('\\') != std::string_view::npos || path.starts_with("\uFFFE")) {
        return nil;
    }
#endif
    return stringOf(path);
}

/// `path` for the framework to standardize. Null when that cannot.
NSString* standardizable(std::string_view path) {
#ifdef GNUSTEP // takes "." for a name at the root, and looks at no link before ".."
    if (path.find("/.") != std::string_view::npos) {
        return nil;
    }
#endif
    return path.starts_with('/') ? heldPath(path) : nil;
}

/// The extension of a component, or nothing when it has none.
std::optional<std::string> extensionOf(NSString* component) {
    const std::string extension = textOf([component pathExtension]);
    return extension.empty() || !rules::canBeExtension(extension) ? std::nullopt : std::optional(extension);
}

} // namespace

// The framework's methods differ in what they make of runs of slashes and of slashes at the end, so the texts
// they get have none. A text that it cannot hold is left to the rules.

std::string appendingPathComponent(std::string_view path, std::string_view component) {
    const AutoreleasePool pool;
    NSString* const whole = heldPath(rules::tidied(path));
    NSString* const part = heldPath(rules::tidied(component));
    if (!whole || !part || path.empty()) {
        return rules::appendingPathComponent(path, component);
    }
    return rules::tidied(textOf([whole stringByAppendingPathComponent:part]));
}

std::string deletingLastPathComponent(std::string_view path) {
    const AutoreleasePool pool;
    NSString* const whole = heldPath(rules::tidied(path));
    return whole ? rules::tidied(textOf([whole stringByDeletingLastPathComponent]))
                 : rules::deletingLastPathComponent(path);
}

std::string lastPathComponent(std::string_view path) {
    const AutoreleasePool pool;
    NSString* const whole = heldPath(rules::tidied(path));
    return whole ? textOf([whole lastPathComponent]) : rules::lastPathComponent(path);
}

std::string deletingPathExtension(std::string_view path) {
    const AutoreleasePool pool;
    const std::string whole = rules::tidied(path);
    NSString* const component = heldPath(lastPathComponent(whole));
    if (!component) {
        return rules::deletingPathExtension(path);
    }
    if (!extensionOf(component)) {
        return whole;
    }
    const std::string left = textOf([component stringByDeletingPathExtension]);
    const bool isName = left != "." && left != "..";
    return isName ? whole.substr(0, whole.rfind('/') + 1) + left : whole;
}

std::optional<std::string> appendingPathExtension(std::string_view path, std::string_view extension) {
    const AutoreleasePool pool;
    const std::string whole = rules::tidied(path);
    NSString* const receiver = heldPath(whole);
    NSString* const suffix = heldPath(extension);
    if (!receiver || !suffix || extension.empty() || whole.empty() || whole == "/" ||
        !rules::canBeExtension(extension)) {
        return rules::appendingPathExtension(path, extension);
    }
    NSString* const result = [receiver stringByAppendingPathExtension:suffix];
    return result ? std::optional(textOf(result)) : std::nullopt;
}

std::string standardizedPath(std::string_view path) {
    const AutoreleasePool pool;
    NSString* const whole = standardizable(path);
    return whole ? rules::tidied(textOf([whole stringByStandardizingPath])) : rules::standardizedPath(path);
}

} // namespace platform
