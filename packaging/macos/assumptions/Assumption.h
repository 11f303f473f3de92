#pragma once

#include <functional>
#include <string>
#include <vector>

/// What this project takes for granted about the platform, and what the platform has to say to it.
namespace assumptions {

/// What was found, or why nothing could be.
struct Found {
    Found(std::string what)
        : text(std::move(what)) {}          // NOLINT(google-explicit-constructor): read like a text
    Found(const char* what) : text(what) {} // NOLINT(google-explicit-constructor)

    std::string text;
    bool isKnown = true;
};

Found unknown(std::string reason);

/// `when` for true, `otherwise` for false.
std::string eitherOf(bool condition, const char* when, const char* otherwise);

struct Assumption {
    std::string name;
    std::vector<std::string> expected; ///< each of them is right
    std::function<Found()> find;
};

using Assumptions = std::vector<Assumption>;

Assumptions aboutPaths();
Assumptions aboutNewFolders();
Assumptions aboutFiles();
Assumptions aboutWriting();
Assumptions aboutXml();
Assumptions aboutPropertyLists();
Assumptions aboutUsers();
Assumptions aboutTheSystem();
Assumptions aboutSemaphores();
Assumptions aboutFileSystems();
Assumptions aboutDescriptors();

} // namespace assumptions
