// Flush-to-zero and denormals-are-zero, for every thread that computes on samples: a tail of
// denormal numbers makes a transform some 70 times slower otherwise.
#pragma once

// For the calling thread, until it ends.
void disableDenormals();
