// A program that has the library in it and, without arguments, does not use it.

#include <elmu/logging/LogTargetDefault.h>
#include <elmu/logging/LoggingCore.h>

int main(int count, char** arguments) {
    if (count > 1) {
        elmu::LogTargetDefault target(arguments[1]);
        elmu::LoggingCore::getInstance()->registerTarget(&target);
        elmu::LoggingCore::getInstance()->unregisterTarget(&target);
    }
    return 0;
}
