#include <elmu/utils/Reporting.h>

namespace ELMUUtils {

constinit LogMessageFn elmuUtilsLogMessageFnPtr = nullptr;
constinit elmu::AbstractLogger* elmuUtilsLogger = nullptr;

} // namespace ELMUUtils
