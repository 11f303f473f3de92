#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/// Runs `work(context)`. When that raises an NSException, its reason, or an empty text when it gives none, to
/// be freed by the caller; else null. Objects of other classes and C++ exceptions pass through.
///
/// A function of plain Objective-C: in Objective-C++ not every compiler hands the exception over whole.
char* reasonOfException(void (*work)(void* context), void* context);

#ifdef __cplusplus
}
#endif
