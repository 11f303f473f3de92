#include "support/StaticObjects.h"

// Constructed before every static object of the program, destroyed after them.
const statics::LastCaller lastCaller(statics::sharedName());
const statics::Member member(statics::sharedName());

const char* statics::sharedName() { return "shared"; }
