// The pauses of the measured code: usleep returns at once, sleep waits for the benchmark.
#pragma once

// Lets the two threads that write the logs write what is queued, and waits until they sleep again.
// To be called after log_init. Until then they write nothing, so no benchmark is disturbed.
void LetLogsBeWritten();
