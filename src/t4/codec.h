// The codec core: pages coded and decoded with all state in objects of the caller. One object serves one page at a
// time; any number of objects work at once, each in a thread of its own. The decoder is in decoder.h, the encoder in
// encoder.h. The procedures of t4dec.h, t4dec_2d.h and enct4.h are the same codec over static objects.
#pragma once

#include "decoder.h"
#include "encoder.h"
