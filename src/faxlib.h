// Everything of the fax file library: fax files and their headers, the T.4 and T.6 codec, the converter, and the
// support library under them. No X11. debug_alloc.h stays out: it redefines the names of memory and file calls.
#pragma once

#include "file.h"
#include "getcwd.h"
#include "handle.h"
#include "ks_functions.h"
#include "replace_file.h"
#include "rev.h"
#include "strlib.h"
#include "trace.h"
#include "trace_config.h"
#include "unique_name.h"
#include "whitespace.h"

#include "fax_header.h"
#include "header_lines.h"
#include "page_writer.h"
#include "pages.h"
#include "session_params.h"
#include "sorbfile.h"
#include "usorbport.h"

#include "bitmanip.h"
#include "damage.h"
#include "dectbls.h"
#include "enct4.h"
#include "enctbls.h"
#include "line.h"
#include "t4dec.h"
#include "t4dec_2d.h"
#include "t4dec_convert.h"
