#include <elmu/utils/Reporting.h>

namespace ELMUUtils {

LogMessageFn elmuUtilsLogMessageFnPtr = nullptr;
elmu::AbstractLogger* elmuUtilsLogger = nullptr;

} // namespace ELMUUtils
