// The worker threads. Each is an endless loop; its argument points to its interval, 32-bit seconds,
// read afresh every cycle.
#pragma once

// Packs the live values at every boundary of the interval and records the file in the ledger.
void* HandleRealData(void* interval);

// Packs the new alarm events at every boundary and records the files in the ledger.
void* HandleRealAlarm(void* interval);

// Asks at every boundary whether data traffic is to go to another address.
void* HandleHeart(void* interval);

// Logs in, then at every boundary uploads the pending files, newest first, up to the first failure.
void* HandleFail(void* interval);

// Asks after every interval whether the cloud orders history, and answers an order at once.
void* HandleRecall(void* interval);
