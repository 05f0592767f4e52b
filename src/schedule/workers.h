// The worker threads. Each is an endless loop. Its argument points to its interval in 32-bit
// seconds, which it reads again in every cycle.
#pragma once

// Packs the live values at every boundary of the interval and records the file in the ledger.
void* HandleRealData(void* interval);

// Packs the new alarm events at every boundary and records the files in the ledger.
void* HandleRealAlarm(void* interval);

// Asks the cloud at every boundary whether data traffic is to go to another address.
void* HandleHeart(void* interval);

// Logs in. Then uploads the pending files at every boundary, newest first, up to the first failure.
void* HandleFail(void* interval);

// Asks the cloud once an interval whether it orders history, and answers an order at once.
void* HandleRecall(void* interval);
