// The worker threads. Each is an endless loop; its argument points to its interval, 32-bit seconds,
// read afresh every cycle.
#pragma once

// Packs the live values at every boundary of the interval and records the file in the ledger.
void* HandleRealData(void* interval);

// Logs in, then at every boundary uploads the pending files, newest first, up to the first failure.
void* HandleFail(void* interval);
