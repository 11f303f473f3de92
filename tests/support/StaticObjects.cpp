#include "support/StaticObjects.h"

// Constructed before every static object of the program, destroyed after them.
const statics::LastCaller lastCaller("shared");
const statics::Member member("shared");
