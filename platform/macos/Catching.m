#import <Foundation/Foundation.h>

#include <string.h>

#include "Catching.h"

char* reasonOfException(void (*work)(void* context), void* context) {
    @try {
        work(context);
    } @catch (NSException* exception) {
        const char* const reason = [[exception reason] UTF8String];
        return strdup(reason ? reason : "");
    }
    return NULL;
}
