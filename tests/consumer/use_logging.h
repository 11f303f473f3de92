#pragma once

/// Writes one record to consumer.log in `folder`. False if the log cannot be used.
bool useLogging(const char* folder);
