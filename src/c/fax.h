/* Fax files for C programs, and for languages that call C: a small part of the library over opaque handles, in the
 * shared library `tolvane`. It needs C99.
 *
 * Every function that can fail gives a TOLVANE_... code, 0 for success. Nothing is printed and no exception leaves. A
 * handle is for one thread at a time; distinct handles are independent. What a function allocates is freed with
 * tolvane_free, and output arguments are null or 0 on failure. */
#ifndef TOLVANE_FAX_H
#define TOLVANE_FAX_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define TOLVANE_API __attribute__((visibility("default")))
#else
#define TOLVANE_API
#endif

/** Codes of failure; the numbers are those of the FAXFILE_ERR_... codes of the C++ library. */
enum tolvane_code {
  TOLVANE_OK = 0,
  TOLVANE_CLOSE = 2,      /**< close failed */
  TOLVANE_MEMORY = 4,     /**< no memory, or a buffer too small */
  TOLVANE_CREATE = 5,     /**< a file can't be created */
  TOLVANE_READ = 6,       /**< a read failed */
  TOLVANE_WRITE = 7,      /**< a write failed; the file is as it was */
  TOLVANE_OPEN = 8,       /**< the file can't be opened */
  TOLVANE_FORMAT = 10,    /**< not a fax file, a damaged header, or a page that is cut short or too long */
  TOLVANE_TEMPNAME = 12,  /**< no name for the new file */
  TOLVANE_ARGUMENT = 15,  /**< bad argument */
  TOLVANE_READONLY = 17,  /**< the handle is open for reading */
  TOLVANE_NO_PAGE = 18,   /**< the document ends before that page */
  TOLVANE_INCLUDED = 19,  /**< an included file is missing, or has no such page */
  TOLVANE_CODING = 20,    /**< pages in this coding can't be decoded or encoded */
  TOLVANE_NO_KEYWORD = 21 /**< the header has no such line */
};

/** Codings of pages: the value of COMPRESSION. */
enum tolvane_coding { TOLVANE_MH = 0, TOLVANE_MR = 1, TOLVANE_MMR = 3 };

/** An open fax file. */
typedef struct tolvane_fax tolvane_fax;

/** A page as packed lines: pixel 0 of a line is bit 7 of its first byte, 1 is black. */
typedef struct tolvane_picture {
  int32_t width;     /**< pixels of a line: 1728 */
  int32_t height;    /**< lines, at most 65535; 0 for an empty page */
  size_t line_bytes; /**< width / 8 */
  uint8_t *lines;    /**< height * line_bytes bytes, freed with tolvane_free; null for an empty page */
} tolvane_picture;

/** The text for a code, in English; never null. */
TOLVANE_API const char *tolvane_error_text(int code);

/** Frees what a function of this header has allocated; null is allowed. */
TOLVANE_API void tolvane_free(void *block);

/** Opens a fax file: for reading, or with `writable` above 0 for reading and writing. */
TOLVANE_API int tolvane_open(const char *path, int writable, tolvane_fax **fax);

/** Creates or empties a fax file, without header lines and pages, for reading and writing. */
TOLVANE_API int tolvane_create(const char *path, tolvane_fax **fax);

/** Closes a file and frees the handle, also on failure; null is allowed. If pages were appended and #PAGES is missing
 *  or is not the number of pages that are in the file, it is set to that first; a code of failure then is that of this
 *  change, and the pages are in the file nevertheless. */
TOLVANE_API int tolvane_close(tolvane_fax *fax);

/** The number of pages of the document: its own, and those that its INCLUDE lines name. */
TOLVANE_API int tolvane_page_count(tolvane_fax *fax, int32_t *pages);

/** The number of header lines. */
TOLVANE_API int tolvane_line_count(tolvane_fax *fax, size_t *lines);

/** A header line by its index from 0, as `name:value`, closed with a zero. */
TOLVANE_API int tolvane_line(tolvane_fax *fax, size_t index, char **line);

/** The value of the first header line with this name, closed with a zero. (Of several lines COMPRESSION, the last one
 *  is the coding of the pages.) */
TOLVANE_API int tolvane_value(tolvane_fax *fax, const char *name, char **value);

/** Gives the first header line with this name the value, or appends a new line. Line feeds of the value become carriage
 *  returns. The file is replaced whole, and the handle goes on with the new one. TOLVANE_FORMAT if readers would not
 * find its inclusions any more, beyond 10000 bytes, or the viewer its lines, beyond 99: it stays as it is. */
TOLVANE_API int tolvane_set_value(tolvane_fax *fax, const char *name, const char *value);

/** The coded bytes of a page, counted from 1, in the coding that COMPRESSION names. An empty page has length 0. */
TOLVANE_API int tolvane_read_page(tolvane_fax *fax, int32_t page, uint8_t **data, size_t *length);

/** A page as packed lines. Damaged lines are replaced by the one before or left out; damage is no failure. A page of
 *  more than 65535 lines gives TOLVANE_FORMAT. */
TOLVANE_API int tolvane_decode_page(tolvane_fax *fax, int32_t page, tolvane_picture *picture);

/** Appends a page of coded bytes. The line #PAGES follows with tolvane_close. TOLVANE_FORMAT if the file ends with a
 * page that is cut short, of which the new one would become the rest. */
TOLVANE_API int tolvane_append_page(tolvane_fax *fax, const uint8_t *data, size_t length);

/** Encodes a picture of 1728 pixels a line in the coding of the file, and appends it as tolvane_append_page does. */
TOLVANE_API int tolvane_append_picture(tolvane_fax *fax, const tolvane_picture *picture);

/** Rewrites a file in another coding (file_converter.h): every page that is in it, whatever #PAGES says, which becomes
 *  their number. All other header lines stay. A file that has the coding already stays as it is, whatever #PAGES says.
 *  TOLVANE_CODING if a page can't be decoded; TOLVANE_FORMAT also if #PAGES and COMPRESSION are missing in a header
 *  that viewers could not read with them. On failure the file is as it was. */
TOLVANE_API int tolvane_convert(const char *path, int coding);

#ifdef __cplusplus
}
#endif

#endif
