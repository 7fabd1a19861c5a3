/* velmorant.h: the effects as a library, for programs in C and for all that can call C.
 *
 * A program lists the effects and their settings, makes pictures from memory or files, writes down steps (an effect
 * with its settings, in the words of the command line) and applies them. It does not see the dialogs, windows and
 * messages by which the effects are worked: those belong to a thread of the library's own.
 *
 *     vlm_picture *picture = NULL;
 *     vlm_steps   *steps   = vlm_steps_new();
 *     if (vlm_picture_read("in.png", &picture) == VLM_OK &&
 *         vlm_steps_add_line(steps, "wave --amplitude 20") == VLM_OK &&
 *         vlm_apply(steps, picture, NULL) == VLM_OK &&
 *         vlm_picture_write(picture, "out.png", NULL) == VLM_OK) puts("done");
 *     else puts(vlm_error_line());
 *     vlm_steps_free(steps);
 *     vlm_picture_free(picture);
 *
 * What holds for every function
 *
 * Threads: any thread may call any function at any time; a call works on the thread that makes it or waits there for
 *   the library's own. One handle is one thread's at a time, except that several threads may read or apply the same
 *   steps while nobody changes them, and that vlm_run_cancel may come from anywhere. Pictures on several threads are
 *   worked on side by side. Nothing needs to be called on a main thread, and no call handles other people's messages.
 * Ownership: what a function makes (a handle, bytes) is the caller's, who gives it back to the routine named there.
 *   Memory that is handed in is read or written during the call only; nothing of it is kept. A text or record that is
 *   returned as `const` stays the library's; where nothing else is said it stays as it is until the process ends.
 * Errors: a function that can fail returns a vlm_code, and then vlm_error_line() tells this thread one line for a
 *   person, without a full stop or a line break: the line that the command line shows. A handle or a result that is
 *   to be filled in is then NULL or untouched. NULL or senseless arguments end in VLM_BAD_ARGUMENT and a line;
 *   functions that cannot fail answer NULL, 0 or nothing to them. Only a handle that was freed already is beyond help.
 *   Freeing NULL does nothing. A call that gets no memory returns VLM_NO_MEMORY.
 * Texts end in a zero byte and are UTF-8, as are file names; where names are bytes, not letters, they may be any.
 * The caller's process: no process is started, no temporary file is made, and signal handlers, locale and working
 *   folder stay as they are. What the effects draw at random does not touch the program's own rand().
 *
 * The library's thread is started by the first call that needs it and waits, without using any time, until the last
 * vlm_release or the end of the process. A program that makes no call pays nothing. The library stays mapped when it
 * is unloaded (dlclose) while its thread lives. After fork() the child may go on using the library: a thread of its own
 * is started there, and pictures and steps made before can be used. Where another thread of the parent was within a call
 * at the moment of the fork, all that needs the library's thread fails in the child with VLM_FORKED.
 *
 * Growth: functions and enumerators are added, none is changed or taken away while VLM_VERSION's first number stays.
 * Records that the caller fills begin with their own size, so that new fields can follow; records of the library are
 * only ever handed out as pointers. Any code, kind, type or layout may come to have more values. */

#ifndef VELMORANT_H
#define VELMORANT_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(VELMORANT_STATIC)
#define VLM_API
#elif defined(_WIN32) && defined(VELMORANT_BUILDING)
#define VLM_API __declspec(dllexport)
#elif defined(_WIN32)
#define VLM_API __declspec(dllimport)
#else
#define VLM_API __attribute__((visibility("default")))
#endif

/* Any number may come from a caller, and C++ lets an enumeration hold it only where it is told to be an int. */
#if defined(__cplusplus) && __cplusplus >= 201103L
#define VLM_INT : int
#else
#define VLM_INT
#endif

/* ---- Version, errors, memory -------------------------------------------------------------------------------------- */

/* The version of this header: 1000 times the first number plus the second, which counts what was added. */
#define VLM_VERSION 1001

/* The version of the library that is running; at least VLM_VERSION for a program that needs all of this header. */
VLM_API int vlm_version(void);
/* The same for a person, as "1.1.0": the version of the whole program. */
VLM_API const char *vlm_version_text(void);
/* What a report of a fault needs besides: two lines with the commit, system, processor and compiler that the library was
 * built from and by, and the libraries that it uses, with their versions. */
VLM_API const char *vlm_build_text(void);

typedef enum vlm_code VLM_INT {
    VLM_OK = 0,
    VLM_ABORTED = 1,         /* the caller wanted it; the picture is as it was */
    VLM_BAD_ARGUMENT = 2,    /* NULL or senseless: a fault of the program that calls */
    VLM_NO_SUCH_EFFECT = 3,  /* the line suggests near ones */
    VLM_NO_SUCH_SETTING = 4, /* the effect has no setting of that name; the line suggests near ones */
    VLM_BAD_VALUE = 5,       /* of a setting, an area, an object: not a number, outside its range, none of its words */
    VLM_BAD_TEXT = 6,        /* of a step's line: quotes that do not end, words where there are none */
    VLM_UNFIT_PICTURE = 7,   /* the effect does not work on pictures of this type, or the area lies outside */
    VLM_BAD_FILE = 8,        /* what was read is not a picture that is known here, or is damaged */
    VLM_CANNOT_READ = 9,     /* no such file, no right to read it */
    VLM_CANNOT_WRITE = 10,   /* what stood there before still does */
    VLM_NO_SUCH_FORMAT = 11, /* no format of that name or ending, or it cannot hold the picture */
    VLM_NO_MEMORY = 12,      /* the picture is as it was */
    VLM_REFUSED = 13,        /* the effect's own word: the line is its message */
    VLM_NO_MODULE = 14,      /* the effects module is missing or cannot be loaded */
    VLM_FORKED = 15,         /* see above */
    VLM_FAILED = 16,         /* anything else; the line tells */
    VLM_AT_ODDS = 17,        /* settings of a step that exclude each other */
    VLM_NO_SUCH_PRESET = 18, /* the line suggests near ones */
    VLM_NO_THREAD = 19       /* the system refuses a thread for now; the picture is as it was */
} vlm_code;

/* The line of this thread's last call that failed; empty at first. The text stays until this thread's next call that
 * fails. */
VLM_API const char *vlm_error_line(void);
/* The code that went with it. */
VLM_API vlm_code vlm_error_code(void);

/* What this thread's last vlm_picture_read, _decode, _write, _encode, vlm_steps_check or vlm_apply had to say to a
 * person though it worked: what could not be kept, what an effect points out. A line each, counted from 0; NULL
 * beyond the last. The texts stay until this thread's next such call. */
VLM_API int vlm_notice_count(void);
VLM_API const char *vlm_notice(int index);

/* Gives back bytes and texts that a function below made. */
VLM_API void vlm_free(void *memory);

/* A program, or a plug-in in it, may say that it will be calling: vlm_retain counts, and the vlm_release that
 * brings the count to 0 ends the library's thread once no call is under way, as a plug-in does that is about to be
 * unloaded. Neither is needed; the next call that needs the thread starts it again. A release too many does
 * nothing. */
VLM_API void vlm_retain(void);
VLM_API void vlm_release(void);
/* Starts the library's thread and looks for the module now instead of at the first call that needs them: to learn
 * early what is missing. VLM_NO_MODULE, VLM_FORKED. */
VLM_API vlm_code vlm_start(void);

/* ---- Effects and their settings ----------------------------------------------------------------------------------- */

/* Types of pictures; also bits of vlm_effect's `types`, as 1 << type. */
typedef enum vlm_type VLM_INT {
    VLM_ONE_BIT = 0, /* black and white, 1 bit per pixel */
    VLM_PALETTE = 1, /* 8 bits per pixel that count in up to 256 colours */
    VLM_GREY = 2,    /* 8 bits per pixel */
    VLM_RGB = 3      /* 24 bits per pixel */
} vlm_type;

/* "1-bit", "palette", "grey", "RGB"; NULL for others. */
VLM_API const char *vlm_type_name(vlm_type type);

typedef enum vlm_kind VLM_INT {
    VLM_NUMBER = 0,  /* a whole number, as "20" */
    VLM_NUMBERS = 1, /* several whole numbers, as "1 2 3" or "1,2,3" */
    VLM_KERNEL = 2,  /* a kernel's name (vlm_kernel), its 49 numbers row by row from the top left, or the rows of a
                          square of 3, 5 or 7 a side, each ended by ';'. "divisor N", "bias N" and a word of
                          `combine-mode` may follow; then it brings these, and its numbers may be any of 32 bits */
    VLM_CHOICE = 3,  /* one of the words of its choices */
    VLM_SWITCH = 4,  /* "on" or "off" */
    VLM_COLOUR = 5,  /* "#RRGGBB" */
    VLM_FILE = 6     /* the name of a file that the run reads (load) or writes (save) */
} vlm_kind;

typedef struct vlm_choice {
    const char *word;    /* the value */
    const char *label;   /* as dialogs show it */
    const char *meaning; /* one line */
    int32_t number;      /* does instead of the word, in decimal digits */
} vlm_choice;

typedef struct vlm_setting {
    const char *name;    /* as an option, without dashes: "block-width" */
    const char *label;   /* as dialogs show it: "Block width" */
    const char *meaning; /* one line; the choices of a choice have theirs besides */
    const char *unit;    /* as dialogs show it behind the number; empty when there is none */
    vlm_kind kind;
    int32_t low, high;         /* the range of a number, and of each of several; a choice made in another setting
                                    may change it (vlm_steps_check knows) */
    int32_t default_number;    /* of a number */
    const char *default_value; /* in the words that set it; empty for a file */
    int count;                 /* how many numbers: 1 of a number, 49 of a kernel; 0 for other kinds */
    int choice_count;
    int shared;        /* not 0: every effect has it (`scope`, `priority`) */
    int writes;        /* not 0: a file that the run writes; else one that it reads */
    int brings_others; /* not 0: a kernel or its file, which sets other settings too; what is given besides
                                  overrides them, whatever the order */
    int in_pixels;     /* not 0: a number of pixels, which may also be given as a share of the picture's smaller
                                  edge: "2%", "0.5%". It is rounded and kept within the range */
} vlm_setting;

typedef struct vlm_effect {
    const char *name;    /* on the command line and in steps: "oil-painting" */
    const char *title;   /* as menus show it: "Oil Painting" */
    const char *summary; /* one line: what a person sees happen */
    const char *about;   /* a paragraph: what it does and what for */
    const char *example; /* settings that show it well, as text of a step: "--radius 4" */
    uint32_t types;      /* of pictures it works on: bits 1 << vlm_type */
    int changes_size;    /* not 0: a run may make the picture larger */
    int draws;           /* not 0: it draws random numbers, so that a seed matters */
    int setting_count;
    int takes_edges; /* not 0: it looks around each pixel, and a step may say how the picture goes on beyond its border:
                          `edges`, which vlm_steps_set takes though it is none of the settings: "wrap", "mirror" or
                          "clamp". Without it the effect does what its dialog does */
    int takes_fringe; /* not 0: it mixes pixels by their places alone, so that what a mask hides, and what is laid bare,
                          darkens the border of what is seen. A step may say `fringe`, likewise none of the settings:
                          "clean" mixes colours as far as they are seen, and gives the border the mask that is left;
                          "as-is" takes pixels and mask each by itself, as the dialog does. Without it alpha that came
                          with the picture (a file's, a layout's, VLM_PLANES_MASK_IS_ALPHA's) is clean, and a mask that
                          was given besides (vlm_picture_set_mask, a `mask` plane) as it is. For grey and RGB without
                          floating objects */
} vlm_effect;

/* How many effects there are, in the order of the dialogs' list. 0 when the module is missing: vlm_start tells
 * why. */
VLM_API int vlm_effect_count(void);
/* By number from 0; NULL beyond the last. */
VLM_API const vlm_effect *vlm_effect_at(int index);
/* By name; NULL, with the error's line, when there is none. */
VLM_API const vlm_effect *vlm_effect_named(const char *name);
/* What a word leads to: effects whose name, title or summary has it, those that do what people call so ("pixelate"), and
 * kernels of `filters` whose names have it. Best first. Letters' case does not count. */
typedef struct vlm_found {
    const vlm_effect *effect;
    const char *settings; /* as text of a step that does it; empty where the effect's defaults do */
} vlm_found;
/* How many there are; the first `room` of them are written to `found`, which may be NULL where `room` is 0. 0 when
 * there is none, the module is missing or an argument makes no sense, with the error's line. */
VLM_API int vlm_effects_find(const char *word, vlm_found *found, int room);
/* Its settings from 0, own ones first, `scope` and `priority` and files last as the dialogs have them; NULL
 * beyond. */
VLM_API const vlm_setting *vlm_effect_setting(const vlm_effect *effect, int index);
VLM_API const vlm_setting *vlm_effect_setting_named(const vlm_effect *effect, const char *name);
VLM_API const vlm_choice *vlm_setting_choice(const vlm_setting *setting, int index);

/* All effects, or with a name one, as `velmorant effects --json` prints them: JSON, without a line break at the end.
 * NULL, with the error's line, when there is no such effect. */
VLM_API const char *vlm_effects_json(const char *name);

/* The ready-made kernels of the effect `filters`. */
#define VLM_KERNEL_SIDE 7
typedef struct vlm_kernel {
    int32_t id;                                          /* of the module's own list */
    const char *name;                                    /* "Gaussian 3 by 3" */
    const char *mode;                                    /* a word of `combine-mode` */
    int32_t elements[VLM_KERNEL_SIDE * VLM_KERNEL_SIDE]; /* row by row from the top left */
    int32_t divisor, bias;
    int32_t size; /* 1, 3, 5 or 7: the side of the smallest centred square that holds its weights */
} vlm_kernel;

/* How many there are, the user's own (whose id is 0) behind the ready-made ones, as they stand in the user's folder at this
 * call. Notices tell which of them cannot be read. */
VLM_API int vlm_kernel_count(void);
/* By number from 0, of those that were last counted. */
VLM_API const vlm_kernel *vlm_kernel_at(int index);
/* Letters' case does not count. NULL, with the error's line, when there is none. */
VLM_API const vlm_kernel *vlm_kernel_named(const char *name);
/* As `velmorant kernels --json` prints them, like vlm_effects_json. */
VLM_API const char *vlm_kernels_json(const char *name);
/* Keeps a kernel in the user's own folder under a name by which `filters` knows it from then on. The text is a grid of
 * numbers, a kernel in the words of VLM_KERNEL, a filter file, ImageMagick's kernel string ("3x3: 0,-1,0 -1,5,-1 0,-1,0") or
 * what it shows of its own kernels, or presets of GIMP's convolution matrix. Where it holds several, `name` is which; NULL
 * keeps all under their own names. Notices tell what does not fit whole numbers. VLM_BAD_TEXT for what is none, or
 * cannot be said in 7 by 7; VLM_BAD_VALUE for a name that is none or, without `replace`, taken; VLM_CANNOT_WRITE. */
VLM_API vlm_code vlm_kernel_import(const char *text, const char *name, int replace);
/* One as text: "velmorant" (NULL too), "grid", "imagemagick" or "gimp". Notices tell what such a text cannot say. To be given
 * back by vlm_free; NULL, with the error's line, when it fails. */
VLM_API char *vlm_kernel_export(const char *name, const char *format);
/* One of the user's own. VLM_BAD_VALUE, VLM_CANNOT_WRITE. */
VLM_API vlm_code vlm_kernel_delete(const char *name);
/* Where they are kept: velmorant/kernels beside the presets; it need not exist. The text stays until this thread's next
 * such call. */
VLM_API const char *vlm_kernel_folder(void);

/* ---- Pictures ----------------------------------------------------------------------------------------------------- */

/* A picture in the library's own memory: its pixels, its palette, its mask (an alpha channel: what the effects may
 * change, and what is seen where pictures lie on each other), and what its file said besides. */
typedef struct vlm_picture vlm_picture;

/* How the samples of a pixel lie in a caller's memory. The layout tells the picture's type. */
typedef enum vlm_layout VLM_INT {
    VLM_LAYOUT_BITS = 0,        /* 1-bit: eight pixels a byte, the first in the highest bit; 1 is white */
    VLM_LAYOUT_BOOLS = 1,       /* 1-bit: a byte per pixel, white where it is not 0; written as 0 and 1 */
    VLM_LAYOUT_INDEX = 2,       /* palette */
    VLM_LAYOUT_INDEX_ALPHA = 3, /* palette: index, alpha */
    VLM_LAYOUT_GREY = 4,
    VLM_LAYOUT_GREY_ALPHA = 5,
    VLM_LAYOUT_RGB = 6,
    VLM_LAYOUT_BGR = 7,
    VLM_LAYOUT_RGBA = 8, /* alpha is not premultiplied */
    VLM_LAYOUT_BGRA = 9,
    VLM_LAYOUT_RGBX = 10, /* the fourth byte counts for nothing; written as 255 */
    VLM_LAYOUT_BGRX = 11
} vlm_layout;

enum {
    VLM_PLANES_DROP_OPAQUE = 1,  /* a mask or alpha of 255 everywhere counts as none */
    VLM_PLANES_MASK_IS_ALPHA = 2 /* the `mask` plane is what is seen of the picture, as a layout's alpha is: see
                                    takes_fringe */
};

/* A picture in the caller's memory, and which part of it is meant. */
typedef struct vlm_planes {
    size_t size;           /* sizeof(vlm_planes): to be set by the caller */
    int32_t width, height; /* pixels, at least 1 */
    vlm_layout layout;
    void *pixels;           /* the first byte of the top row */
    ptrdiff_t stride;       /* from a row's first byte to that of the row below it, bytes; may be negative, or
                                   larger than a row: what lies between rows is not touched. 0: rows follow each other
                                   without gaps */
    void *mask;             /* the top row of the mask; NULL for none, or where the layout has an alpha */
    ptrdiff_t mask_stride;  /* as `stride` */
    int mask_bits;          /* 8: 0 keeps a pixel, 255 gives it over; 1: as VLM_LAYOUT_BITS; 0 without a mask */
    int palette_entries;    /* palette: 1..256 */
    const uint8_t *palette; /* red, green, blue of each entry; NULL where the layout has none */
    unsigned flags;         /* VLM_PLANES_..., or 0; others are refused */
} vlm_planes;

/* A copy of the caller's planes. Alpha becomes the mask: of 8 bits for grey and RGB, of 1 bit (alpha above 127)
 * for palette and 1-bit pictures; a mask plane of the other depth is turned into that. VLM_BAD_ARGUMENT,
 * VLM_NO_MEMORY. */
VLM_API vlm_code vlm_picture_from_planes(const vlm_planes *planes, vlm_picture **picture);
/* Copies the picture into the caller's memory, which has the picture's size. Its own type's layouts take it as it
 * is; the RGB layouts take every type, and BOOLS a 1-bit one. Without a mask alpha is 255, a mask of 1 bit gives 0
 * and 255. A `mask` plane, where one is named, is filled the same way in `mask_bits`. `palette` is not written:
 * vlm_picture_palette has it. VLM_BAD_ARGUMENT when size or type do not fit. */
VLM_API vlm_code vlm_picture_to_planes(const vlm_picture *picture, const vlm_planes *planes);
/* The library's own planes of a picture, to read and to write: rows padded to 32 bits, top row first; BITS, INDEX,
 * GREY or BGR; the mask, if any, of `mask_bits`. `size` is to be set by the caller. They stay where they are until
 * the picture is applied to, changed or freed. */
VLM_API vlm_code vlm_picture_view(vlm_picture *picture, vlm_planes *planes);

/* A picture of zero bytes, a 1-bit one with black and white, a palette of one black entry; no mask. */
VLM_API vlm_code vlm_picture_new(vlm_type type, int32_t width, int32_t height, vlm_picture **picture);
VLM_API vlm_code vlm_picture_copy(const vlm_picture *picture, vlm_picture **copy);
VLM_API void vlm_picture_free(vlm_picture *picture);

VLM_API vlm_type vlm_picture_type(const vlm_picture *picture);
VLM_API int32_t vlm_picture_width(const vlm_picture *picture);
VLM_API int32_t vlm_picture_height(const vlm_picture *picture);
VLM_API int vlm_picture_mask_bits(const vlm_picture *picture); /* 8 or 1; 0 without a mask */
/* The colours: three bytes per entry, red first. 256 greys for grey, 2 for 1-bit, 0 for RGB. They stay until the
 * picture is changed or freed. */
VLM_API int vlm_picture_palette_entries(const vlm_picture *picture);
VLM_API const uint8_t *vlm_picture_palette(const vlm_picture *picture);
/* Other colours for a palette picture: 1..256 entries. */
VLM_API vlm_code vlm_picture_set_palette(vlm_picture *picture, const uint8_t *palette, int entries);

/* Gives the picture another picture's brightness for a mask (`--mask`), 1-bit masks from 128 on; NULL takes the mask
 * away. VLM_BAD_VALUE when sizes differ. */
VLM_API vlm_code vlm_picture_set_mask(vlm_picture *picture, const vlm_picture *mask);
/* The mask as a picture of its own, grey or 1-bit (`--mask-output`). VLM_UNFIT_PICTURE when there is none. */
VLM_API vlm_code vlm_picture_get_mask(const vlm_picture *picture, vlm_picture **mask);

/* What files say besides pixels; it is kept as it was read and goes back where a format has a place for it. */
typedef enum vlm_metadata VLM_INT {
    VLM_COLOUR_PROFILE = 0, /* ICC */
    VLM_EXIF = 1            /* the TIFF structure itself, without "Exif" before it */
} vlm_metadata;
/* The bytes, and how many; they stay until the picture is changed or freed. NULL and 0 when there are none. */
VLM_API const uint8_t *vlm_picture_metadata(const vlm_picture *picture, vlm_metadata kind, size_t *bytes);
VLM_API vlm_code vlm_picture_set_metadata(vlm_picture *picture, vlm_metadata kind, const uint8_t *data, size_t bytes);
/* Dots per inch; 0 when they are not known. Either may be NULL. */
VLM_API void vlm_picture_resolution(const vlm_picture *picture, double *x, double *y);
VLM_API vlm_code vlm_picture_set_resolution(vlm_picture *picture, double x, double y);
/* All that another picture's file said besides pixels, in place of this one's. */
VLM_API vlm_code vlm_picture_take_metadata(vlm_picture *picture, const vlm_picture *from);

/* ---- Files -------------------------------------------------------------------------------------------------------- */

typedef struct vlm_format {
    const char *name;    /* "png" */
    const char *endings; /* of file names, apart by blanks: "tif tiff" */
    const char *mime;    /* "image/png" */
    int takes_quality;   /* not 0: it loses something, and quality says how much */
    int holds_several;   /* not 0: pages or frames */
} vlm_format;
VLM_API int vlm_format_count(void);
VLM_API const vlm_format *vlm_format_at(int index);
/* By a format's name, or by a file name's ending ("a/b.TIF"); letters' case does not count. NULL, with the error's
 * line, when there is none. */
VLM_API const vlm_format *vlm_format_named(const char *name);
VLM_API const vlm_format *vlm_format_of_file(const char *file);

typedef struct vlm_writing {
    size_t size;        /* sizeof(vlm_writing) */
    const char *format; /* its name; NULL: by the file's ending, else as the picture was read, else PNG */
    int quality;        /* JPEG: 1..100; 0: with the tables of the picture's own file, else the usual 90 */
    int subsampling;    /* JPEG: 444, 440, 422, 420 or 411; 0: as the picture's own file, else by the quality */
    int progressive;    /* JPEG: 1 yes, -1 no; 0: as the picture's own file */
    int strip;          /* 1: without metadata but colour profile and resolution; 2: without those too; 0: with all */
    int reduce_depth;   /* not 0: a picture that came with more than 8 bits a sample may take its own file's place */
    int compression; /* PNG: 1, quick, to 9, small; 0: the usual 2. Windows' own codec takes none and a notice says so */
} vlm_writing;       /* of a smaller `size`, as an earlier header had it, the rest counts as 0 */

/* Reads a picture file, or standard input as "-"; its first bytes tell the format. The picture keeps its type, and is
 * turned upright where the file has a mark that says how. A file of several pages or frames gives one picture: what
 * is asked of it is told of the first, vlm_apply works on all, and all are written where the format has a place.
 * Notices (see above) tell what was not kept. The line begins with the file's name. VLM_CANNOT_READ, VLM_BAD_FILE,
 * VLM_NO_MEMORY. */
VLM_API vlm_code vlm_picture_read(const char *file, vlm_picture **picture);
/* The same from the bytes of a file; the line does not name it. */
VLM_API vlm_code vlm_picture_decode(const void *bytes, size_t count, vlm_picture **picture);
typedef struct vlm_reading {
    size_t size;    /* sizeof(vlm_reading) */
    int allow_huge; /* not 0: also pictures beyond 32767 pixels an edge or 512 megapixels, which are refused otherwise */
    int as_stored;  /* not 0: rows and columns as they are stored, with the mark how to turn them; else upright */
    int page;       /* which of a file's pages or frames, from 1; 0: all of them */
} vlm_reading;      /* of a smaller `size`, as an earlier header had it, the rest counts as 0 */
/* The two with something to say about it; `reading` may be NULL. */
VLM_API vlm_code vlm_picture_read_with(const char *file, const vlm_reading *reading, vlm_picture **picture);
VLM_API vlm_code vlm_picture_decode_with(const void *bytes, size_t count, const vlm_reading *reading,
                                         vlm_picture **picture);
/* The format that the picture was read from; NULL for one that was made otherwise. */
VLM_API const vlm_format *vlm_picture_format(const vlm_picture *picture);
/* How many pages or frames it has; 1 for most. */
VLM_API int vlm_picture_pages(const vlm_picture *picture);
/* How many its file has, of which vlm_reading's `page` may have read one; 1 for a picture that was made otherwise. */
VLM_API int vlm_picture_file_pages(const vlm_picture *picture);
/* A copy of one of them, from 0, as a picture of its own. VLM_BAD_ARGUMENT, VLM_NO_MEMORY. */
VLM_API vlm_code vlm_picture_page(const vlm_picture *picture, int page, vlm_picture **copy);
/* Puts a copy of another picture, of which only the first page counts, in the place of one of them, from 0: a page that
 * was taken out, worked on alone and goes back among the others, which stay as they are. VLM_BAD_ARGUMENT, VLM_NO_MEMORY. */
VLM_API vlm_code vlm_picture_set_page(vlm_picture *picture, int page, const vlm_picture *from);
/* Puts a copy of another picture, with all its own pages, behind those that are there. VLM_NO_MEMORY. */
VLM_API vlm_code vlm_picture_add_page(vlm_picture *picture, const vlm_picture *page);
/* How long each frame is shown, milliseconds, at least 0 and at most 655,350; and how often all are, 0 for ever, at most
 * 65,535. For formats of animations. */
VLM_API vlm_code vlm_picture_set_animation(vlm_picture *picture, int delay, int loops);
/* Bits per sample that its file had: more than 8 have become 8. 8 for a picture that was made otherwise, 0 for NULL. */
VLM_API int vlm_picture_file_bits(const vlm_picture *picture);
/* Not 0 when its file held it, or one of its pages, with a loss (JPEG, also within TIFF, and WebP that is not lossless):
 * written as such again it loses a little once more. */
VLM_API int vlm_picture_is_lossy(const vlm_picture *picture);
/* A sum over the sizes, pixels and masks of all pages: of two that differ, something has changed between them. It is the same
 * for every copy, and nothing else may depend on its value. 0 for NULL. */
VLM_API uint64_t vlm_picture_sum(const vlm_picture *picture);
/* What vlm_picture_write would refuse before it writes anything; to be asked before a long run. VLM_NO_SUCH_FORMAT,
 * VLM_CANNOT_WRITE. */
VLM_API vlm_code vlm_picture_check_writing(const vlm_picture *picture, const char *file, const vlm_writing *writing);
/* Writes beside the file and renames, so that a failed writing leaves what stood there; "-" is standard output.
 * A small picture among EXIF data is made from the picture as it is; a file with more than 8 bits a sample is not
 * replaced by the picture that was read from it unless that is asked for.
 * `writing` may be NULL. VLM_CANNOT_WRITE, VLM_NO_SUCH_FORMAT, VLM_NO_MEMORY. */
VLM_API vlm_code vlm_picture_write(const vlm_picture *picture, const char *file, const vlm_writing *writing);
/* For a program that ends at once, whatever its threads are doing: removes the files that calls have begun and not
 * finished. What they were to replace is as it was. Calls that are writing a file, that come to do so later, or that
 * call this once more, never return. Not to be called in a signal handler. */
VLM_API void vlm_drop_unfinished_files(void);
/* The bytes that a file would have; to be given back by vlm_free. */
VLM_API vlm_code vlm_picture_encode(const vlm_picture *picture, const vlm_writing *writing, void **bytes,
                                    size_t *count);

/* ---- Steps -------------------------------------------------------------------------------------------------------- */

/* Effects with their settings, to be applied one after the other. Steps are counted from 0. A setting that is not
 * given has its default. Values are taken as they come and are checked by vlm_steps_check, and again by vlm_apply
 * before anything runs; only then the order in which they were given says nothing. Setting one is cheap, so that
 * all may be set before every picture. */
typedef struct vlm_steps vlm_steps;

VLM_API vlm_steps *vlm_steps_new(void);
VLM_API vlm_code vlm_steps_copy(const vlm_steps *steps, vlm_steps **copy);
VLM_API void vlm_steps_free(vlm_steps *steps);
VLM_API void vlm_steps_clear(vlm_steps *steps);
VLM_API int vlm_steps_count(const vlm_steps *steps);

/* Adds a step by its effect's name, without settings. VLM_NO_SUCH_EFFECT. */
VLM_API vlm_code vlm_steps_add(vlm_steps *steps, const char *effect);
/* Adds a step from the command line's words: `wave --amplitude 20 --orientation columns`. Words are split as a POSIX
 * shell splits them: 'a b', "a b", a\ b. `--name value` and `--name=value` are the same. `--seed N` and
 * `--area X,Y,WxH` belong to the step. Nothing is added when it fails. */
VLM_API vlm_code vlm_steps_add_line(vlm_steps *steps, const char *line);
/* The same with the words split already. */
VLM_API vlm_code vlm_steps_add_words(vlm_steps *steps, int count, const char *const *words);

/* Gives a setting a value in the command line's words; NULL brings the default back. VLM_NO_SUCH_SETTING. */
VLM_API vlm_code vlm_steps_set(vlm_steps *steps, int step, const char *setting, const char *value);
/* Gives every setting in pixels that was not given the share of the picture's smaller edge that its default is of 640
 * pixels, so that it is seen alike on pictures of all sizes. */
VLM_API vlm_code vlm_steps_scale_defaults(vlm_steps *steps, int step);
VLM_API vlm_code vlm_steps_set_number(vlm_steps *steps, int step, const char *setting, int32_t value);
/* The seed of what the step draws at random: the same one gives the same picture. */
VLM_API vlm_code vlm_steps_set_seed(vlm_steps *steps, int step, uint32_t seed);
/* The selected area, in pixels of the picture as the step finds it; it may reach beyond it but not lie outside. A
 * width and height of 0 take it away. */
VLM_API vlm_code vlm_steps_set_area(vlm_steps *steps, int step, int32_t left, int32_t top, int32_t width,
                                    int32_t height);
/* A picture that floats over the step's and those of later steps, its first pixel at (x, y), masked by its own
 * mask, and is pasted into the result: bottom to top. The picture is copied. It becomes the type of the picture
 * that it lies on. Where a step has objects they are its scope unless `scope` says otherwise. VLM_BAD_VALUE when
 * an edge is longer than 32767. */
VLM_API vlm_code vlm_steps_add_object(vlm_steps *steps, int step, const vlm_picture *object, int32_t x, int32_t y);

/* Adds copies of other steps behind these, objects, areas and seeds included. */
VLM_API vlm_code vlm_steps_append(vlm_steps *steps, const vlm_steps *more);

VLM_API const char *vlm_steps_effect(const vlm_steps *steps, int step);
/* What was given, as it was given; NULL when it was not. It stays until the steps are changed. */
VLM_API const char *vlm_steps_value(const vlm_steps *steps, int step, const char *setting);
/* Not 0 when the step has a seed, which is then left in `seed` (may be NULL). */
VLM_API int vlm_steps_seed(const vlm_steps *steps, int step, uint32_t *seed);
/* Not 0 when the step has an area, which is then left in the four (any may be NULL), in pixels. */
VLM_API int vlm_steps_area(const vlm_steps *steps, int step, int32_t *left, int32_t *top, int32_t *width,
                           int32_t *height);
/* A step as a line that vlm_steps_add_line takes, without its objects; with `all` not 0 settings that were not given
 * are written too, with their defaults, except files and `priority`. To be given back by vlm_free; NULL, with the
 * error's line, when it fails. */
VLM_API char *vlm_steps_line(const vlm_steps *steps, int step, int all);

/* How far around a pixel a step looks for what the pixel becomes, on a picture of this size, in pixels. So part of a
 * picture, cut out with so many more pixels on each side as far as there are any, and at least twice so many wide and
 * high or as much as the picture is, comes out as on the whole. -1 where a pixel's place, the picture's size or what is
 * drawn at random counts, for a step with an area, edges, objects or a scope, and for NULL or senseless arguments. Not to
 * be asked of a step that vlm_steps_check refuses. */
VLM_API int32_t vlm_steps_reach(const vlm_steps *steps, int step, int32_t width, int32_t height);

/* Whether the effects take all that was given: the dialogs are asked, nothing runs and no file is left behind. The
 * line names the setting: "--amplitude: 300 is outside 1..100". `step` (may be NULL) is the first one at fault.
 * What was found right is not looked at again until the steps are changed. */
VLM_API vlm_code vlm_steps_check(const vlm_steps *steps, int *step);

/* ---- Sheets ------------------------------------------------------------------------------------------------------- */

/* A picture of another size, 1..32767 pixels an edge, as RGB: smaller ones are the mean of what they cover, larger ones
 * repeat. A mask is laid on near white. VLM_BAD_ARGUMENT, VLM_NO_MEMORY. */
VLM_API vlm_code vlm_picture_scale(const vlm_picture *picture, int32_t width, int32_t height, vlm_picture **scaled);

/* A picture with its name. */
typedef struct vlm_tile {
    const vlm_picture *picture;
    const char *label; /* NULL for none; what is too long is cut */
} vlm_tile;
/* Pictures beside and below each other, each made to fit and its name beneath, as one RGB picture `width` pixels wide
 * (200..10000; 0: 1600), in `columns` (1..100; 0: as many as look well). The tiles' pictures may be of any sizes and
 * types and stay as they are. VLM_BAD_ARGUMENT, VLM_NO_MEMORY. */
VLM_API vlm_code vlm_sheet_make(const vlm_tile *tiles, int count, int columns, int32_t width, vlm_picture **sheet);

/* ---- Recipes ------------------------------------------------------------------------------------------------------ */

/* Steps as text, to be kept, read by people and passed on:
 *
 *     velmorant recipe 1
 *     # an old print
 *     noise --amount 40 --variation 25
 *     filters --kernel 'Gaussian 3 by 3'
 *
 * The first line that is neither empty nor a comment names the version. Then comes a step a line, in the words of
 * vlm_steps_add_line; a # where a word would begin starts a comment. Settings that are left out have their defaults. A
 * seed in the first step is also that of all steps without one. A recipe names no files: `load` and `save`, masks and
 * objects are refused in it. Lines end in LF or CR LF; the text is UTF-8 of at most 1 MiB. */
#define VLM_RECIPE_VERSION 1

/* Reads a recipe and checks all its values (vlm_steps_check). The line tells what is wrong and would be right with the
 * file and the number of the line: "old.txt: line 3: --amount: 300 is outside 1..100". "-" is standard input.
 * VLM_CANNOT_READ, VLM_BAD_TEXT, and all that vlm_steps_add_line and vlm_steps_check return. The steps are the
 * caller's. */
VLM_API vlm_code vlm_recipe_read(const char *file, vlm_steps **steps);
/* The same from a text; `name` is what lines call it, NULL for nothing. */
VLM_API vlm_code vlm_recipe_parse(const char *text, const char *name, vlm_steps **steps);
/* Steps as a recipe's text, with all settings that say something of pixels: a kernel in numbers, wherever it came from,
 * `scope` where it was given, areas and seeds. Objects and `save` are left out. To be given back by vlm_free; NULL, with
 * the error's line, when a step has a fault. */
VLM_API char *vlm_recipe_text(const vlm_steps *steps);
/* The same into a file, beside it first and then renamed; "-" is standard output. VLM_CANNOT_WRITE. */
VLM_API vlm_code vlm_recipe_write(const vlm_steps *steps, const char *file);

/* ---- Presets ------------------------------------------------------------------------------------------------------ */

/* A preset is one step under a name: one that comes with the library, or one that was saved as a recipe in the user's
 * own folder, which is velmorant/presets in $XDG_CONFIG_HOME or ~/.config, on Windows Velmorant\presets in %APPDATA%.
 * Letters' case does not count in names. A saved one hides a shipped one of the same name. */
typedef struct vlm_preset {
    const char *name;    /* 1..60 letters: "film-grain" */
    const char *effect;  /* of its step; empty in a saved one that has a fault */
    const char *summary; /* one line of what it is for; of a saved one its recipe's first comment, or empty */
    const char *line;    /* the step as a line that vlm_steps_add_line takes; of one with a fault the error's line */
    int shipped;         /* not 0: it comes with the library and cannot be renamed or deleted */
    int fault;           /* not 0: a saved one that cannot be read, whatever makes it so */
} vlm_preset;

/* What there was when it was read: shipped ones first, then saved ones by name. A list is the caller's, and what it
 * hands out lives as long as it does. */
typedef struct vlm_presets vlm_presets;
VLM_API vlm_code vlm_presets_read(vlm_presets **presets);
VLM_API void vlm_presets_free(vlm_presets *presets);
VLM_API int vlm_presets_count(const vlm_presets *presets);
VLM_API const vlm_preset *vlm_presets_at(const vlm_presets *presets, int index);
/* NULL, with the error's line, which suggests near names, when there is none. */
VLM_API const vlm_preset *vlm_presets_named(const vlm_presets *presets, const char *name);

/* The step of a preset, checked. The steps are the caller's. VLM_NO_SUCH_PRESET, and what vlm_recipe_read returns. */
VLM_API vlm_code vlm_preset_steps(const char *name, vlm_steps **steps);
/* Keeps a step under a name; `summary` may be NULL. One of that name that is there already is written over only where
 * `replace` is not 0. VLM_BAD_VALUE for a name that is none or is taken, and for steps that are not exactly one;
 * VLM_CANNOT_WRITE. */
VLM_API vlm_code vlm_preset_save(const char *name, const vlm_steps *steps, const char *summary, int replace);
/* A preset as a recipe whose first comment is the summary, into a file or, as "-", standard output; and such a file as a
 * preset. A `summary` that is neither NULL nor empty takes the place of the file's own. Codes as of vlm_preset_steps and
 * vlm_recipe_write, of vlm_recipe_read and vlm_preset_save. */
VLM_API vlm_code vlm_preset_export(const char *name, const char *file);
VLM_API vlm_code vlm_preset_import(const char *file, const char *name, const char *summary, int replace);
/* Of a saved one. VLM_NO_SUCH_PRESET, VLM_BAD_VALUE when `to` is no name or is taken or the preset is a shipped one,
 * VLM_CANNOT_WRITE. */
VLM_API vlm_code vlm_preset_rename(const char *from, const char *to);
VLM_API vlm_code vlm_preset_delete(const char *name);
/* The folder that saved presets are kept in; it need not exist. The text stays until this thread's next such call. */
VLM_API const char *vlm_preset_folder(void);

/* ---- Runs --------------------------------------------------------------------------------------------------------- */

/* How steps are applied, and what came of it. One run serves one vlm_apply at a time, and any number after each
 * other. */
typedef struct vlm_run vlm_run;

/* Called on the thread that waits in vlm_apply, when a step begins (tenths 0) and at every tenth of it; of reports
 * that come faster than the thread takes them it is told the last. An answer other than 0 aborts. It may make calls of its
 * own, but not with this run or its picture. No exception may leave it. */
typedef int (*vlm_progress)(void *context, int step, int steps, int tenths);

VLM_API vlm_run *vlm_run_new(void);
VLM_API void vlm_run_free(vlm_run *run);
VLM_API void vlm_run_set_progress(vlm_run *run, vlm_progress progress, void *context);
/* The seed of all steps without one of their own. Without any seed every vlm_apply draws anew. */
VLM_API void vlm_run_set_seed(vlm_run *run, uint32_t seed);
VLM_API void vlm_run_clear_seed(vlm_run *run);
/* How many threads the picture may be worked on by, at most 64; 0, at first: as many as VELMORANT_THREADS says, else as the
 * process may use. Pictures under way at the same time share them. Pixels are the same for every number. */
VLM_API void vlm_run_set_threads(vlm_run *run, int threads);
/* Whether a picture is as it was after an abort or a fault; on at first. Without it no copy is kept meanwhile, and
 * the picture may be left empty, of no pixels, fit only for vlm_picture_free: for a caller who then throws it
 * away. */
VLM_API void vlm_run_set_restoring(vlm_run *run, int on);
/* Aborts the vlm_apply that this run is in, or the next one at once, until vlm_run_rearm. Any thread may call it, and
 * with it only that of a signal handler may not. Returns at once. */
VLM_API void vlm_run_cancel(vlm_run *run);
VLM_API void vlm_run_rearm(vlm_run *run);
/* The seed that a step drew with in the last vlm_apply, given or drawn: the same seed gives the same picture
 * again. 0 is returned when the step drew nothing. */
VLM_API int vlm_run_seed(const vlm_run *run, int step, uint32_t *seed);
/* Which step the last vlm_apply failed in; -1 when it did not, or in none. */
VLM_API int vlm_run_failed_step(const vlm_run *run);

/* Applies all steps to a picture, in its place; afterwards it may have another size (`changes_size`). The caller
 * waits meanwhile, in a call of its own thread. `run` may be NULL. Steps are checked before anything runs.
 * VLM_ABORTED, and all that vlm_steps_check returns, VLM_UNFIT_PICTURE, VLM_REFUSED, VLM_NO_MEMORY, VLM_NO_THREAD,
 * VLM_NO_MODULE, VLM_FORKED. */
VLM_API vlm_code vlm_apply(const vlm_steps *steps, vlm_picture *picture, vlm_run *run);

#ifdef __cplusplus
}
#endif

#endif
