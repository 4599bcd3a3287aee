#ifndef MIEN_HOST_H
#define MIEN_HOST_H

/**
 * @file
 * The C interface of mien: recorded faces in, animations of characters out, for programs in any language.
 * C11 and C++. docs/c-interface.md explains the concepts and has a complete program.
 *
 * **Handles.** All objects are opaque. A handle that a function returns as a non-const pointer
 * belongs to the caller, who frees it with the function for its type; freeing NULL does nothing. Other
 * pointers belong to a handle and are valid as long as it exists, unless stated otherwise. Handles do not
 * depend on each other: an animation may outlive its take, its performer and its character.
 *
 * **Failures.** No exception leaves the library, and nothing is kept between calls outside handles. A
 * function that can fail returns NULL, or a status other than #MIEN_OK. Its last argument, `errors`, may
 * be NULL; otherwise it is set to a list of errors, which the caller frees, or to NULL if there are none.
 * Wrong calls fail with #MIEN_USAGE: NULL instead of a handle, a handle of the wrong type, a wrong size. A
 * freed handle is recognised only until its memory is reused.
 *
 * **Threads.** Any number of handles may be used on any threads. Only one thread at a time may use a handle,
 * except through functions that take it as `const`, which may run at the same time.
 *
 * **Structs** that may grow begin with `struct_size`, which the caller sets to the struct's size: the INIT
 * macros do. A library that is newer or older than the caller's header then uses the members that both know.
 *
 * **Choices** are constants of an enumeration in an `int32_t`, so that a wrong value is an error and not
 * undefined behaviour.
 *
 * **Text** is UTF-8 and ends in a 0 byte. **Lengths** are in millimetres, **times** in seconds, **angles**
 * in radians, unless stated otherwise. **Matrices** are indexed [row][column] and apply to column vectors;
 * the translation is in column 3.
 */

/* NOLINTBEGIN(modernize-*): this is C */
#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#define MIEN_HOST_API
#elif defined(__GNUC__)
#define MIEN_HOST_API __attribute__((visibility("default")))
#else
#define MIEN_HOST_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** The version of this interface. It grows with additions; a change that breaks programs renames the
 * library. */
#define MIEN_HOST_VERSION 2

/** The version of the interface that the loaded library has. */
MIEN_HOST_API uint32_t mien_host_version(void);
/** The version of mien: "0.1.0". */
MIEN_HOST_API const char* mien_version(void);

/** @name Handles */
/**@{*/
typedef struct mien_messages mien_messages;         /**< errors, or notes */
typedef struct mien_text mien_text;                 /**< text or bytes that a function made */
typedef struct mien_settings mien_settings;         /**< the options of one step */
typedef struct mien_take mien_take;                 /**< a recording of markers */
typedef struct mien_performer mien_performer;       /**< the markers of a face, its neutral and its ranges */
typedef struct mien_character mien_character;       /**< shapes and clusters, and what drives them */
typedef struct mien_animation mien_animation;       /**< a solved take, or retargeted weights */
typedef struct mien_frame_solver mien_frame_solver; /**< solves one frame after another, as they arrive */
typedef struct mien_live mien_live;                 /**< faces that move now */
/**@}*/

/** How a call went. */
enum {
  MIEN_OK = 0,        /**< it succeeded */
  MIEN_INPUT = 1,     /**< a file or data is at fault */
  MIEN_USAGE = 2,     /**< the call, or a setting, is at fault */
  MIEN_LIMIT = 3,     /**< a stated limit is exceeded */
  MIEN_MEMORY = 4,    /**< memory ran out */
  MIEN_CANCELLED = 5, /**< the progress callback stopped it */
  MIEN_INTERNAL = 6   /**< a defect of mien */
};
typedef int32_t mien_status;

/** @name Messages */
/**@{*/

/** One error or one note. No member is NULL. */
typedef struct mien_message {
  size_t struct_size;
  const char* code;  /**< for programs: "not-found", "usage", ...; docs/file-formats.md lists them */
  const char* file;  /**< the file at fault, or what the caller named its data; may be empty */
  const char* place; /**< in it: a line, a JSON pointer; the name of a setting or an argument; may be empty */
  const char* what;  /**< is wrong, or worth knowing */
  const char* fix;   /**< how to put it right; may be empty */
  const char* text;  /**< all of it in a line for people: "FILE:PLACE: WHAT; FIX" */
} mien_message;
#define MIEN_MESSAGE_INIT                                                                                    \
  { .struct_size = sizeof(mien_message) }

/** The status of the call that returned these errors; #MIEN_OK for notes and NULL. */
MIEN_HOST_API mien_status mien_messages_status(const mien_messages* messages);
MIEN_HOST_API size_t mien_messages_count(const mien_messages* messages); /**< 0 for NULL */
/** Fills `message`; #MIEN_USAGE for an index that is too large. Its texts belong to `messages`. */
MIEN_HOST_API mien_status mien_messages_get(const mien_messages* messages, size_t index,
                                            mien_message* message);
/** The `text` of all messages, a line each; "" for NULL. */
MIEN_HOST_API const char* mien_messages_text(const mien_messages* messages);
MIEN_HOST_API mien_status mien_messages_free(mien_messages* messages);
/**@}*/

/** @name Text and bytes that a function made */
/**@{*/
MIEN_HOST_API const char* mien_text_data(const mien_text* text); /**< a 0 byte follows; NULL for NULL */
MIEN_HOST_API size_t mien_text_size(const mien_text* text);      /**< bytes, without the 0 byte */
MIEN_HOST_API mien_status mien_text_free(mien_text* text);
/**@}*/

/** @name Arrays */
/**@{*/
enum {
  MIEN_DOUBLE = 0, /**< double */
  MIEN_INT64 = 1,  /**< int64_t */
  MIEN_UINT8 = 2   /**< uint8_t */
};
typedef int32_t mien_type;

/** A view of values that a handle owns; nothing is copied. Element [i][j]... is at `(const char*)data + i *
 * strides[0] + j * strides[1] + ...`. Valid as long as the handle. */
typedef struct mien_array {
  size_t struct_size;
  const void* data; /**< NULL where there is no element */
  mien_type type;
  int32_t dimensions;   /**< 1 to 4 */
  size_t shape[4];      /**< 0 beyond `dimensions` */
  ptrdiff_t strides[4]; /**< bytes; 0 beyond `dimensions` */
} mien_array;
#define MIEN_ARRAY_INIT                                                                                      \
  { .struct_size = sizeof(mien_array) }
/**@}*/

/** @name Progress */
/**@{*/
enum {
  MIEN_READING = 0,   /**< a file's bytes */
  MIEN_PREPARING = 1, /**< finding the neutral face */
  MIEN_SOLVING = 2,   /**< frames */
  MIEN_WRITING = 3    /**< values */
};
typedef int32_t mien_stage;

/** Reports the progress of a call, on the thread that made it, at most a few hundred times per stage. */
typedef struct mien_progress {
  size_t struct_size;
  /** `done` of `total` bytes, frames or values; 0 of 0 if unknown. A result other than 0 stops the call,
   * which then fails with #MIEN_CANCELLED and leaves no file behind. It must not throw or jump out. */
  int (*report)(void* user, mien_stage stage, size_t done, size_t total);
  void* user; /**< handed to `report` */
} mien_progress;
#define MIEN_PROGRESS_INIT                                                                                   \
  { .struct_size = sizeof(mien_progress) }
/**@}*/

/** @name Settings
 * The options of the command `mien`, by their names without dashes: `mien solve --smooth 6` is
 * `mien_settings_set(settings, "smooth", "6", &errors)`. `mien SOLVE --help` and docs/ explain them.
 * Options for which there are handles and arguments here (the take, the performer, the output) do not
 * exist. */
/**@{*/
enum {
  MIEN_STEP_READ = 0, /**< reading a take: strict, face, input-rate, image, face-width, mirrored */
  MIEN_STEP_SOLVE =
      1, /**< `mien solve`: neutral, solver, basis, smooth, fill, output-rate, expression, ... */
  MIEN_STEP_RETARGET =
      2, /**< `mien retarget`: map, ranges, landmarks, swap-sides, ... and reading the weights */
  MIEN_STEP_CALIBRATE =
      3, /**< `mien calibrate`, `mien performer`: poses, name, neutral, head-fit, fill, smooth, ... */
  MIEN_STEP_CONVERT = 4, /**< writing a take: frames, markers, timecode */
  MIEN_STEP_WRITE = 5    /**< writing an animation: csv-style, templates, onto, head, eyes */
};
typedef int32_t mien_step;

/** Settings of a step, with default values. */
MIEN_HOST_API mien_settings* mien_settings_new(mien_step step, mien_messages** errors);
/** Sets an option and replaces its earlier value. The value of a flag is "true" or "false". NULL restores the
 * default. A wrong value or an unknown name fails and changes nothing; the error suggests the nearest
 * name. */
MIEN_HOST_API mien_status mien_settings_set(mien_settings* settings, const char* name, const char* value,
                                            mien_messages** errors);
/** Adds a value to an option that may be given several times, such as "expression". */
MIEN_HOST_API mien_status mien_settings_add(mien_settings* settings, const char* name, const char* value,
                                            mien_messages** errors);

/** An option of a step. No text is NULL. */
typedef struct mien_option {
  size_t struct_size;
  const char* name;   /**< "smooth" */
  const char* type;   /**< of its value: "HZ"; empty for a flag */
  const char* help;   /**< one sentence or several */
  const char* group;  /**< under which the command's help lists it; may be empty */
  const char* values; /**< the words that it takes, separated by commas; empty where others are possible */
  int32_t repeatable; /**< 1 if ::mien_settings_add may add values */
} mien_option;
#define MIEN_OPTION_INIT                                                                                     \
  { .struct_size = sizeof(mien_option) }

MIEN_HOST_API size_t mien_settings_option_count(const mien_settings* settings);
/** Fills `option`; #MIEN_USAGE for an index that is too large. Its texts belong to `settings`. */
MIEN_HOST_API mien_status mien_settings_option(const mien_settings* settings, size_t index,
                                               mien_option* option);
MIEN_HOST_API mien_status mien_settings_free(mien_settings* settings);
/**@}*/

/** Frames per second as a fraction, from text as the command accepts it: "120", "30000/1001", or "29.97",
 * which stands for the latter. Fails if the text is not a rate. */
MIEN_HOST_API mien_status mien_rate_from_text(const char* text, int64_t* numerator, int64_t* denominator,
                                              mien_messages** errors);

/** @name Takes */
/**@{*/

/** Reads a file: C3D, TRC, landmarks or markers as CSV or JSON; the content determines the format. `settings`
 * (#MIEN_STEP_READ) and `progress` may be NULL here and everywhere. */
MIEN_HOST_API mien_take* mien_take_read(const char* path, const mien_settings* settings,
                                        const mien_progress* progress, mien_messages** errors);
/** The same from a file's bytes, which are not needed afterwards. `name` is the file's name for messages
 * and titles. */
MIEN_HOST_API mien_take* mien_take_read_memory(const void* bytes, size_t size, const char* name,
                                               const mien_settings* settings, const mien_progress* progress,
                                               mien_messages** errors);

/** A take in the program's memory. Strides are in bytes; 0 stands for the stride of consecutive doubles. */
typedef struct mien_take_arrays {
  size_t struct_size;
  const char* name;           /**< for titles and messages; NULL: "take" */
  const char* const* markers; /**< different names, not empty (size: marker_count) */
  size_t marker_count;        /**< at least 1 */
  size_t frame_count;         /**< at least 1 */
  const double* positions;  /**< frames x markers x 3, millimetres, right-handed; a NaN among the 3: a gap */
  ptrdiff_t frame_stride;   /**< from frame to frame */
  ptrdiff_t marker_stride;  /**< from marker to marker */
  ptrdiff_t axis_stride;    /**< from x to y to z */
  int64_t rate_numerator;   /**< frames per second as a fraction, above 0; may be 0 if there are `times` */
  int64_t rate_denominator; /**< above 0; not read where the numerator is 0 */
  const int64_t* frame_numbers; /**< rising; NULL: 1, 2, 3 ... (size: frame_count) */
  const double* times; /**< rising seconds; NULL: frame 1 is at 0 s, others by the rate (size: frame_count) */
  const char* timecode; /**< of the first frame: "10:02:59:29@30"; NULL: none */
} mien_take_arrays;
#define MIEN_TAKE_ARRAYS_INIT                                                                                \
  { .struct_size = sizeof(mien_take_arrays) }

/** A copy of the arrays as a take. Positions that are infinite, or beyond a kilometre, become gaps with a
 * note. */
MIEN_HOST_API mien_take* mien_take_from_arrays(const mien_take_arrays* arrays, mien_messages** errors);

enum {
  MIEN_TAKE_POSITIONS = 0, /**< double, frames x markers x 3: millimetres; NaN in gaps */
  MIEN_TAKE_ORIGINS =
      1, /**< uint8, frames x markers: 0 gap, 1 measured, 2 computed by the program that wrote it */
  MIEN_TAKE_FRAMES = 2, /**< int64, frames: each frame's number in the file; rising, may skip */
  MIEN_TAKE_TIMES = 3   /**< double, frames: seconds; rising, not always from 0 */
};
typedef int32_t mien_take_array;
MIEN_HOST_API mien_status mien_take_get_array(const mien_take* take, mien_take_array which, mien_array* array,
                                              mien_messages** errors);

enum {
  MIEN_TAKE_NAME = 0,
  MIEN_TAKE_FILE = 1,    /**< its path as it was given */
  MIEN_TAKE_FORMAT = 2,  /**< "C3D" */
  MIEN_TAKE_FLAVOUR = 3, /**< "Intel, float" */
  MIEN_TAKE_UNIT = 4,    /**< of lengths in the file: "m" */
  MIEN_TAKE_AXES = 5,    /**< what the format says about them: "+y up, ..." */
  MIEN_TAKE_TIMECODE = 6 /**< of the first frame: "10:02:59:29@30" */
};
typedef int32_t mien_take_text;
/** "" if the take has none; NULL for a wrong call. */
MIEN_HOST_API const char* mien_take_get_text(const mien_take* take, mien_take_text which);

MIEN_HOST_API size_t mien_take_frame_count(const mien_take* take);  /**< 0 for NULL */
MIEN_HOST_API size_t mien_take_marker_count(const mien_take* take); /**< 0 for NULL */
/** A marker's name, by index; NULL beyond the last. */
MIEN_HOST_API const char* mien_take_marker(const mien_take* take, size_t index);
/** Frames per second as a fraction. */
MIEN_HOST_API mien_status mien_take_rate(const mien_take* take, int64_t* numerator, int64_t* denominator);

/** A named moment of the recording. */
typedef struct mien_event {
  size_t struct_size;
  double time; /**< seconds, on the clock of #MIEN_TAKE_TIMES */
  const char* label;
} mien_event;
#define MIEN_EVENT_INIT                                                                                      \
  { .struct_size = sizeof(mien_event) }
MIEN_HOST_API size_t mien_take_event_count(const mien_take* take);
/** Fills `event`; #MIEN_USAGE for an index that is too large. */
MIEN_HOST_API mien_status mien_take_event(const mien_take* take, size_t index, mien_event* event);

/** What the reader noticed or corrected. Belongs to the take; NULL for NULL. */
MIEN_HOST_API const mien_messages* mien_take_notes(const mien_take* take);

/** Writes .c3d, .trc or .csv, by the path's ending. The file is read back and compared before it gets its
 * name. `lost`, if not NULL, is set to notes on what the format cannot hold, which the caller frees. */
MIEN_HOST_API mien_status mien_take_write(const mien_take* take, const char* path,
                                          const mien_settings* settings, const mien_progress* progress,
                                          mien_messages** lost, mien_messages** errors);
/** The same into memory. `ending` is that of the file: ".c3d". */
MIEN_HOST_API mien_text* mien_take_write_memory(const mien_take* take, const char* ending,
                                                const mien_settings* settings, mien_messages** lost,
                                                mien_messages** errors);
MIEN_HOST_API mien_status mien_take_free(mien_take* take);
/**@}*/

/** @name Performers */
/**@{*/

/** The name of a built-in performer, by index; NULL beyond the last. Valid while the library is loaded. */
MIEN_HOST_API const char* mien_performer_built_in(size_t index);
/** A built-in performer by its name, such as "landmarks68" or "landmarks478", or a performer file by its
 * path. */
MIEN_HOST_API mien_performer* mien_performer_load(const char* name_or_path, mien_messages** errors);
/** A performer file's text. `name` is its name for messages. */
MIEN_HOST_API mien_performer* mien_performer_from_json(const char* json, size_t size, const char* name,
                                                       mien_messages** errors);
/** A copy of the performer with the neutral face of a take (`mien performer`). `settings`
 * (#MIEN_STEP_CALIBRATE): neutral, head-fit, name. */
MIEN_HOST_API mien_performer* mien_performer_with_neutral(const mien_performer* performer,
                                                          const mien_take* take,
                                                          const mien_settings* settings,
                                                          const mien_progress* progress,
                                                          mien_messages** errors);
/** Proposes a performer for the unknown markers of a take (`mien performer --guess`). `settings`
 * (#MIEN_STEP_CALIBRATE): neutral, name. */
MIEN_HOST_API mien_performer* mien_performer_guess(const mien_take* take, const mien_settings* settings,
                                                   const mien_progress* progress, mien_messages** errors);
/** A copy of the performer with the neutral face and the ranges that takes show (`mien calibrate`). With the
 * setting "poses", the first take is a guided one. */
MIEN_HOST_API mien_performer* mien_performer_calibrate(const mien_performer* performer,
                                                       const mien_take* const* takes, size_t take_count,
                                                       const mien_settings* settings,
                                                       const mien_progress* progress, mien_messages** errors);

MIEN_HOST_API const char* mien_performer_name(const mien_performer* performer);
MIEN_HOST_API size_t mien_performer_marker_count(const mien_performer* performer);
/** A marker that a take must have, by index; NULL beyond the last. */
MIEN_HOST_API const char* mien_performer_marker(const mien_performer* performer, size_t index);
/** A performer file's text. */
MIEN_HOST_API mien_text* mien_performer_to_json(const mien_performer* performer, mien_messages** errors);
/** Notes from the call that made it, on the neutral face, the poses, the guess. */
MIEN_HOST_API const mien_messages* mien_performer_notes(const mien_performer* performer);

/** The range of one template, as calibration found it. */
typedef struct mien_range {
  size_t struct_size;
  const char* name; /**< of the template: "LeftEye.Close" */
  double low;       /**< the weight that reads 0 */
  double high;      /**< the weight that reads 1 */
  int32_t seen;     /**< the blinks or poses that it was measured on */
  int32_t trusted;  /**< 0: the range is not applied */
  const char* why;  /**< not trusted; empty where it is */
} mien_range;
#define MIEN_RANGE_INIT                                                                                      \
  { .struct_size = sizeof(mien_range) }
MIEN_HOST_API size_t mien_performer_range_count(const mien_performer* performer);
/** Fills `range`; #MIEN_USAGE for an index that is too large. */
MIEN_HOST_API mien_status mien_performer_range(const mien_performer* performer, size_t index,
                                               mien_range* range);
MIEN_HOST_API mien_status mien_performer_free(mien_performer* performer);
/**@}*/

/** @name Characters */
/**@{*/

/** The name of a built-in character, by index; NULL beyond the last. Valid while the library is loaded. */
MIEN_HOST_API const char* mien_character_built_in(size_t index);
/** A built-in character by its name, such as "arkit52" or "vrm1", or a character file by its path. */
MIEN_HOST_API mien_character* mien_character_load(const char* name_or_path, mien_messages** errors);
/** A character file's text. `name` is its name for messages. */
MIEN_HOST_API mien_character* mien_character_from_json(const char* json, size_t size, const char* name,
                                                       mien_messages** errors);
/** Makes a first character for a head, from the morph targets of a .glb (`mien character from-glb`).
 * `name` is the character's; NULL: the file's name. */
MIEN_HOST_API mien_character* mien_character_from_head(const char* path, const char* name,
                                                       mien_messages** errors);
/** Makes a first character for shapes with these names. */
MIEN_HOST_API mien_character* mien_character_from_shapes(const char* const* shapes, size_t shape_count,
                                                         const char* name, mien_messages** errors);

MIEN_HOST_API const char* mien_character_name(const mien_character* character);
MIEN_HOST_API size_t mien_character_shape_count(const mien_character* character);
/** A shape's name, by index; NULL beyond the last. */
MIEN_HOST_API const char* mien_character_shape(const mien_character* character, size_t index);
/** A character file's text. */
MIEN_HOST_API mien_text* mien_character_to_json(const mien_character* character, mien_messages** errors);
/** Notes from the call that made it, such as shapes that nothing drives. Belongs to the character. */
MIEN_HOST_API const mien_messages* mien_character_notes(const mien_character* character);
MIEN_HOST_API mien_status mien_character_free(mien_character* character);
/**@}*/

/** @name Animations */
/**@{*/

/** Solves a take (`mien solve`). `character` may be NULL: then there are weights of templates and no shapes.
 * `settings`: #MIEN_STEP_SOLVE. */
MIEN_HOST_API mien_animation* mien_solve(const mien_take* take, const mien_performer* performer,
                                         const mien_character* character, const mien_settings* settings,
                                         const mien_progress* progress, mien_messages** errors);

/** Recorded weights from a file, cleaned and put onto a character if one is given (`mien retarget`).
 * `settings`: #MIEN_STEP_RETARGET. */
MIEN_HOST_API mien_animation* mien_retarget(const char* path, const mien_character* character,
                                            const mien_settings* settings, const mien_progress* progress,
                                            mien_messages** errors);
/** The same from a file's bytes, which are not needed afterwards. `name` is the file's name for messages
 * and titles. */
MIEN_HOST_API mien_animation* mien_retarget_memory(const void* bytes, size_t size, const char* name,
                                                   const mien_character* character,
                                                   const mien_settings* settings,
                                                   const mien_progress* progress, mien_messages** errors);

/** Weights in the program's memory. Strides are in bytes; 0 stands for the stride of consecutive doubles. */
typedef struct mien_weight_arrays {
  size_t struct_size;
  const char* name;         /**< for titles and messages; NULL: "weights" */
  const char* const* names; /**< of shapes or of templates, different (size: name_count) */
  size_t name_count;        /**< at least 1 */
  size_t frame_count;       /**< at least 1 */
  const double* weights;    /**< frames x names; NaN: missing */
  ptrdiff_t frame_stride;   /**< from frame to frame */
  ptrdiff_t name_stride;    /**< from name to name */
  int64_t rate_numerator;   /**< frames per second as a fraction, above 0; may be 0 if there are `times` */
  int64_t rate_denominator; /**< above 0; not read where the numerator is 0 */
  const int64_t* frame_numbers; /**< rising; NULL: 1, 2, 3 ... (size: frame_count) */
  const double* times; /**< rising seconds; NULL: frame 1 is at 0 s, others by the rate (size: frame_count) */
  const char* timecode; /**< of the first frame; NULL: none */
} mien_weight_arrays;
#define MIEN_WEIGHT_ARRAYS_INIT                                                                              \
  { .struct_size = sizeof(mien_weight_arrays) }

MIEN_HOST_API mien_animation* mien_retarget_arrays(const mien_weight_arrays* arrays,
                                                   const mien_character* character,
                                                   const mien_settings* settings,
                                                   const mien_progress* progress, mien_messages** errors);

enum {
  MIEN_ANIMATION_FRAMES = 0,        /**< int64, frames: numbers as in the take */
  MIEN_ANIMATION_TIMES = 1,         /**< double, frames: seconds, as in the take */
  MIEN_ANIMATION_WEIGHTS = 2,       /**< double, frames x templates */
  MIEN_ANIMATION_SHAPE_WEIGHTS = 3, /**< double, frames x shapes */
  /** double, frames x 4 x 4: from a face that looks along +z, x to its left, y up, to where it is */
  MIEN_ANIMATION_HEADS = 4,
  /** double, frames x 4 x 4: the head's motion from the neutral pose, in the axes of the neutral face: x to
   * its left, y up, z out of it. This is what files have. */
  MIEN_ANIMATION_HEAD_MOTION = 5,
  /** double, frames x 2 x 2, or 0 frames if the directions of the eyes are unknown: the left and the right
   * eye's yaw (to the performer's left) and pitch (down) */
  MIEN_ANIMATION_EYES = 6,
  MIEN_ANIMATION_LOCAL_TRANSLATIONS = 7,   /**< double, frames x clusters x 3: relative to the part's root */
  MIEN_ANIMATION_LOCAL_ROTATIONS = 8,      /**< double, frames x clusters x 3 x 3 */
  MIEN_ANIMATION_LOCAL_SCALES = 9,         /**< double, frames x clusters x 3 */
  MIEN_ANIMATION_GLOBAL_TRANSLATIONS = 10, /**< double, frames x clusters x 3: in the character's space */
  MIEN_ANIMATION_GLOBAL_ROTATIONS = 11,    /**< double, frames x clusters x 3 x 3 */
  MIEN_ANIMATION_GLOBAL_SCALES = 12,       /**< double, frames x clusters x 3 */
  /** double, frames of the take x 9: how far the markers of each part of the face are from what the weights
   * reproduce, in millimetres; NaN where the part is at rest. 0 frames for retargeted weights. */
  MIEN_ANIMATION_RESIDUALS = 13,
  MIEN_ANIMATION_HEAD_KNOWN =
      14 /**< uint8, frames of the take: whether the markers show the head; likewise */
};
typedef int32_t mien_animation_array;
/** #MIEN_ANIMATION_HEAD_MOTION is computed at the first call for it; this call counts as non-const. */
MIEN_HOST_API mien_status mien_animation_get_array(mien_animation* animation, mien_animation_array which,
                                                   mien_array* array, mien_messages** errors);

enum {
  MIEN_TEMPLATE_NAMES = 0,     /**< "Mouth.Open": the columns of the weights */
  MIEN_SHAPE_NAMES = 1,        /**< "jawOpen": the columns of the shape weights */
  MIEN_CLUSTER_NAMES = 2,      /**< "jawBone" */
  MIEN_CLUSTER_PART_NAMES = 3, /**< of each cluster, the character's part that it belongs to */
  MIEN_FACE_PART_NAMES = 4     /**< "Mouth": the nine parts, in the order of residuals */
};
typedef int32_t mien_names;
MIEN_HOST_API size_t mien_animation_name_count(const mien_animation* animation, mien_names which);
/** NULL beyond the last. */
MIEN_HOST_API const char* mien_animation_name(const mien_animation* animation, mien_names which,
                                              size_t index);

enum {
  MIEN_ANIMATION_TAKE = 0,      /**< the take's name */
  MIEN_ANIMATION_PERFORMER = 1, /**< the performer's name; empty for retargeted weights */
  MIEN_ANIMATION_CHARACTER = 2, /**< the character's name; empty without one */
  MIEN_ANIMATION_TIMECODE = 3,  /**< of the first frame: "10:02:59:29@30"; empty without one */
  /** what was done and how well it follows, as JSON: the command's --report. Made at the first call */
  MIEN_ANIMATION_REPORT = 4,
  MIEN_ANIMATION_NEUTRAL = 5 /**< how the neutral face was found; empty for retargeted weights */
};
typedef int32_t mien_animation_text;
/** NULL for a wrong call. */
MIEN_HOST_API const char* mien_animation_get_text(const mien_animation* animation, mien_animation_text which);

MIEN_HOST_API size_t mien_animation_frame_count(const mien_animation* animation); /**< 0 for NULL */
/** Frames per second as a fraction. */
MIEN_HOST_API mien_status mien_animation_rate(const mien_animation* animation, int64_t* numerator,
                                              int64_t* denominator);
/** Notes on the neutral face or on the weights. Belongs to the animation. */
MIEN_HOST_API const mien_messages* mien_animation_notes(const mien_animation* animation);

/** Writes .csv, .json, .glb, .vrm or .vrma, by the path's ending; the whole file, or none. `settings`:
 * #MIEN_STEP_WRITE. `notes`, if not NULL, is set to notes on what the file lacks, which the caller frees. */
MIEN_HOST_API mien_status mien_animation_write(const mien_animation* animation, const char* path,
                                               const mien_settings* settings, const mien_progress* progress,
                                               mien_messages** notes, mien_messages** errors);
/** The same into memory. `ending` is that of the file: ".glb". */
MIEN_HOST_API mien_text* mien_animation_write_memory(const mien_animation* animation, const char* ending,
                                                     const mien_settings* settings, mien_messages** notes,
                                                     mien_messages** errors);
MIEN_HOST_API mien_status mien_animation_free(mien_animation* animation);
/**@}*/

/** @name Frame by frame
 * Solves frames as they arrive, without later frames. The results are, to the bit, those of the command
 * `mien solve --causal`. A frame allocates no memory once each set of visible head markers has occurred. */
/**@{*/

/** Makes a solver for a performer. The neutral face is the performer's own, or is found in `take`, a
 * recording with the same markers, which also shows how the markers move with the skull. `take` and
 * `character` may be NULL. `settings`: #MIEN_STEP_SOLVE, as for a causal solve that learns from `take`:
 * solver, hold, fade, face-hold, face-fade, one-euro, ...; those that need later frames (smoothing, filling)
 * or other frames than those that arrive (output-rate, learn) have no effect. */
MIEN_HOST_API mien_frame_solver* mien_frame_solver_new(const mien_performer* performer, const mien_take* take,
                                                       const mien_character* character,
                                                       const mien_settings* settings, mien_messages** errors);
/** How many markers it uses: of the head, the parts of the face, their anchors, the irises, the fit. */
MIEN_HOST_API size_t mien_frame_solver_marker_count(const mien_frame_solver* solver);
/** The name of a marker, by index, in the order of ::mien_frame_solver_solve; NULL beyond the last. */
MIEN_HOST_API const char* mien_frame_solver_marker(const mien_frame_solver* solver, size_t index);

enum {
  MIEN_FRAME_WEIGHTS = 0,       /**< double, templates */
  MIEN_FRAME_SHAPE_WEIGHTS = 1, /**< double, shapes */
  MIEN_FRAME_HEAD = 2,          /**< double, 4 x 4: as #MIEN_ANIMATION_HEADS */
  MIEN_FRAME_HEAD_MOTION = 3,   /**< double, 4 x 4: as #MIEN_ANIMATION_HEAD_MOTION */
  MIEN_FRAME_EYES = 4, /**< double, 2 x 2: as #MIEN_ANIMATION_EYES; NaN if the source never shows them */
  MIEN_FRAME_RESIDUALS =
      5, /**< double, 9: how far the markers of each part are from what the weights give back */
  /** uint8, 2: whether this frame shows the head, and where the eyes look. The head otherwise keeps its last
   * pose; the eyes keep their direction for half a second, and then look straight ahead. */
  MIEN_FRAME_KNOWN = 6,
  MIEN_FRAME_LOCAL_TRANSLATIONS = 7,   /**< double, clusters x 3 */
  MIEN_FRAME_LOCAL_ROTATIONS = 8,      /**< double, clusters x 3 x 3 */
  MIEN_FRAME_LOCAL_SCALES = 9,         /**< double, clusters x 3 */
  MIEN_FRAME_GLOBAL_TRANSLATIONS = 10, /**< double, clusters x 3 */
  MIEN_FRAME_GLOBAL_ROTATIONS = 11,    /**< double, clusters x 3 x 3 */
  MIEN_FRAME_GLOBAL_SCALES = 12        /**< double, clusters x 3 */
};
typedef int32_t mien_frame_array;
/** An array of results. Its memory stays the same for the life of the solver, so one call is enough. Before
 * the first frame it has the neutral face. */
MIEN_HOST_API mien_status mien_frame_solver_get_array(const mien_frame_solver* solver, mien_frame_array which,
                                                      mien_array* array, mien_messages** errors);
MIEN_HOST_API size_t mien_frame_solver_name_count(const mien_frame_solver* solver, mien_names which);
/** NULL beyond the last. */
MIEN_HOST_API const char* mien_frame_solver_name(const mien_frame_solver* solver, mien_names which,
                                                 size_t index);

/** Solves a frame and fills the arrays. `markers`: consecutive x, y, z of each marker, millimetres; NaN
 * where it is not seen (size: marker_count x 3). `time`: seconds, later than the previous frame. A missing
 * marker keeps its place for a moment and then fades to rest; a frame without any is one without the face,
 * which fades as a whole (docs/live.md). Fails for a `marker_count` that is not the solver's, and for
 * infinite positions and times; the arrays then stay as they are. */
MIEN_HOST_API mien_status mien_frame_solver_solve(mien_frame_solver* solver, const double* markers,
                                                  size_t marker_count, double time, mien_messages** errors);
MIEN_HOST_API mien_status mien_frame_solver_free(mien_frame_solver* solver);
/**@}*/

/** @name Live
 * Faces that move now, from any number of sources: frames go in, results come out, at once. Like a frame
 * solver, and also: sources of weights, a neutral face that is learned from the first seconds, clocks, late
 * and doubled frames, silent sources, recordings, statistics. docs/live.md explains all of these; the
 * command `mien live` is made of them. There are no threads and sockets. A frame allocates no memory once
 * its kind has occurred, except while the neutral face is being learned. */
/**@{*/

enum {
  MIEN_LIVE_MARKERS = 0, /**< positions of markers or landmarks */
  MIEN_LIVE_WEIGHTS = 1  /**< weights that a phone or a tracker has measured itself */
};
typedef int32_t mien_live_kind;

/** A face, and how it is solved. Nothing of it is needed after the call. */
typedef struct mien_live_face {
  size_t struct_size;
  mien_live_kind kind;
  const char* name; /**< for titles and messages; NULL: "face" */
  const char* const*
      names;         /**< of the markers or the weights, in the order of their values (size: name_count) */
  size_t name_count; /**< 1 to 4,096; each of at most 255 bytes */
  const mien_performer* performer; /**< of markers; NULL for weights */
  /** With the same markers: the neutral face is found in it, and which markers move with the skull. NULL: the
   * performer's own neutral face, or if there is none, it is learned from the first two seconds (setting
   * "learn"), in which all weights are 0. NULL for weights. */
  const mien_take* take;
  const mien_character* character; /**< NULL: weights of templates come out, or the source's own shapes */
  /** #MIEN_STEP_SOLVE for markers, #MIEN_STEP_RETARGET for weights, as for a causal solve; settings that need
   * later frames are errors. NULL: the defaults. */
  const mien_settings* settings;
} mien_live_face;
#define MIEN_LIVE_FACE_INIT                                                                                  \
  { .struct_size = sizeof(mien_live_face) }

MIEN_HOST_API mien_live* mien_live_new(mien_messages** errors);
/** Adds a face; at most 64. Sets `number`, which no other face of this handle gets. */
MIEN_HOST_API mien_status mien_live_add(mien_live* live, const mien_live_face* face, size_t* number,
                                        mien_messages** errors);
/** Ends a face and its recording. */
MIEN_HOST_API mien_status mien_live_remove(mien_live* live, size_t face, mien_messages** errors);
/** Restarts a face of markers with another performer, and with a take or NULL as in ::mien_live_face. If it
 * fails, the face stays as it is. Names of templates and shapes stay the same. */
MIEN_HOST_API mien_status mien_live_switch_performer(mien_live* live, size_t face,
                                                     const mien_performer* performer, const mien_take* take,
                                                     mien_messages** errors);
MIEN_HOST_API size_t mien_live_name_count(const mien_live* live, size_t face, mien_names which);
/** The name of a template, shape or cluster of a face's results, or of a part; NULL beyond the last. Valid
 * until the face is removed. */
MIEN_HOST_API const char* mien_live_name(const mien_live* live, size_t face, mien_names which, size_t index);

/** What a source delivers for one face in one frame. Numbers may be anything: those that are infinite, or too
 * large to be positions (a kilometre), weights (a million) or angles (half a turn, for the eyes a quarter),
 * are counted and missing. Nothing of it is needed after the call. */
typedef struct mien_live_frame {
  size_t struct_size;
  size_t face;    /**< its number */
  double arrival; /**< seconds, when it arrived by the program's clock; never falls */
  double time;    /**< seconds, when it was measured by the source's clock, from any zero; NaN: unknown */
  /** Where a source has a timecode, it takes precedence over `time`: counts since midnight, a fraction of a
   * count, and counts per second. */
  int64_t timecode;
  double timecode_fraction;
  int64_t timecode_rate_numerator; /**< 0: there is no timecode */
  int64_t timecode_rate_denominator;
  int32_t timecode_drop; /**< 1 for drop-frame counting; the timecode is the count of frames nevertheless */
  int32_t lost;          /**< 1: the source does not see the face; the members below are not read */
  /** Markers: x, y, z of each, millimetres, right-handed axes of the source. Weights: one of each. In the
   * order of mien_live_face::names; NaN where missing. */
  const double* values;
  size_t value_count; /**< name_count x 3 for markers, name_count for weights */
  const double*
      head; /**< weights only: its yaw (to its left), pitch (down), roll (to its right), radians; or NULL */
  const double*
      head_place;     /**< weights only: x to its left, y up, z forward, millimetres from rest; or NULL */
  const double* eyes; /**< weights only: 2 x 2, as #MIEN_ANIMATION_EYES; or NULL */
} mien_live_frame;
#define MIEN_LIVE_FRAME_INIT                                                                                 \
  { .struct_size = sizeof(mien_live_frame) }

/** What became of a frame. */
enum {
  MIEN_LIVE_USED = 0,      /**< there are results: one, or with the setting "output-rate" none or several */
  MIEN_LIVE_PAUSED = 1,    /**< left out by ::mien_live_pause */
  MIEN_LIVE_DUPLICATE = 2, /**< left out: it has the time of the frame before */
  MIEN_LIVE_LATE = 3,      /**< left out: its time is before that of the frame before */
  MIEN_LIVE_UNUSABLE = 4   /**< left out: `arrival` is not a time */
};
typedef int32_t mien_live_verdict;

/** Solves a frame; its results replace those of the call before. `verdict` may be NULL. Frames that are left
 * out succeed as well; they have no results. Fails for a face or a `value_count` that is wrong. */
MIEN_HOST_API mien_status mien_live_feed(mien_live* live, const mien_live_frame* frame,
                                         mien_live_verdict* verdict, mien_messages** errors);
/** Handles silent sources: a face that got no frame for a quarter of a second, or three frames if that is
 * longer, is lost, and frames without it are inserted so that it fades to rest. Their results replace those
 * of the call before. Call it about 30 times per second. `now`: seconds on the clock of
 * mien_live_frame::arrival. */
MIEN_HOST_API mien_status mien_live_advance(mien_live* live, double now, mien_messages** errors);

/** A result of the last ::mien_live_feed or ::mien_live_advance. */
typedef struct mien_live_result {
  size_t struct_size;
  size_t face;
  int64_t frame;      /**< from 1, rising */
  double time;        /**< seconds, rising: the source's clock where it has one, from 0 at its first frame */
  double arrival;     /**< mien_live_frame::arrival of the frame that it was made of */
  double presence;    /**< the share of what was measured in the weights: 1, less while a lost face fades */
  size_t unseen;      /**< markers that the solve uses, or weights, that the frame lacks */
  int32_t learning;   /**< 1: the neutral face is not known yet, and all weights are 0 */
  int32_t face_seen;  /**< 0: the face is lost; its last result is held, and then fades to rest */
  int32_t head_known; /**< 0: the head keeps its last pose */
  int32_t eyes_known; /**< 0: the eyes keep their direction, and then look straight ahead */
} mien_live_result;
#define MIEN_LIVE_RESULT_INIT                                                                                \
  { .struct_size = sizeof(mien_live_result) }

MIEN_HOST_API size_t mien_live_result_count(const mien_live* live); /**< 0 for NULL */
/** Fills `result`; #MIEN_USAGE for an index that is too large. */
MIEN_HOST_API mien_status mien_live_get_result(const mien_live* live, size_t index, mien_live_result* result);
/** An array of a result, as for a frame solver. Its memory is valid until the next call of ::mien_live_feed
 * or ::mien_live_advance. #MIEN_FRAME_RESIDUALS are 0 for weights and lost faces. */
MIEN_HOST_API mien_status mien_live_get_array(const mien_live* live, size_t index, mien_frame_array which,
                                              mien_array* array, mien_messages** errors);

/** Learns the neutral face of a face of markers from its next frames, in which the performer keeps still.
 * Does nothing to weights. */
MIEN_HOST_API mien_status mien_live_neutral_now(mien_live* live, size_t face, mien_messages** errors);
/** 1 leaves out all frames that come in, until it is called with 0. */
MIEN_HOST_API mien_status mien_live_pause(mien_live* live, int32_t paused, mien_messages** errors);
/** Starts to record what comes in and what goes out: PLACE.csv, PLACE.out.csv, and where needed
 * PLACE.neutral.csv and PLACE.events.csv (docs/live.md). Resets what is held, faded or smoothed, so that a
 * causal solve of PLACE.csv with the same settings gives PLACE.out.csv, byte for byte. `place`: a path
 * without an ending. Fails where one of the files exists or cannot be written. */
MIEN_HOST_API mien_status mien_live_start_recording(mien_live* live, size_t face, const char* place,
                                                    mien_messages** errors);
/** Does nothing without a recording. If the last one ended by itself, because a file could not be written, this
 * fails and says which and why; the face continues, and mien_live_statistics::recording is 0 from then on. */
MIEN_HOST_API mien_status mien_live_stop_recording(mien_live* live, size_t face, mien_messages** errors);
/** Marks this moment in a face's recording, if there is one. */
MIEN_HOST_API mien_status mien_live_mark(mien_live* live, size_t face, const char* label,
                                         mien_messages** errors);
/** Adds the time from a frame's arrival to sending its result, which the program measures, to the
 * statistics. */
MIEN_HOST_API mien_status mien_live_add_latency(mien_live* live, size_t face, double seconds,
                                                mien_messages** errors);

/** A face's counts so far: of frames, unless stated otherwise. */
typedef struct mien_live_statistics {
  size_t struct_size;
  uint64_t received;         /**< from the source */
  uint64_t used;             /**< of these, what the solve got */
  uint64_t duplicates;       /**< left out: at the time of the frame before */
  uint64_t late;             /**< left out: before the frame before */
  uint64_t unusable;         /**< left out: without a usable time */
  uint64_t paused;           /**< left out by ::mien_live_pause */
  uint64_t dropped;          /**< missing, judged by the times of the others */
  uint64_t inserted;         /**< without the face, while nothing came */
  uint64_t sent;             /**< results */
  uint64_t lost;             /**< used or inserted, without the face */
  uint64_t head_unknown;     /**< with the face, but without a known head */
  uint64_t poor;             /**< in which the markers of a part are off by more than 5 mm */
  uint64_t unseen;           /**< markers or weights that frames with the face lacked */
  uint64_t unusable_numbers; /**< positions, weights and angles that are infinite or too large */
  uint64_t failed_learnings; /**< how often frames did not determine a neutral face */
  uint64_t source_restarts;  /**< how often the source's clock was reset */
  double rate;               /**< of the source now, per second; 0 if unknown */
  double drift_ppm;      /**< how much faster the source's clock is, in parts per million; NaN if unknown */
  uint64_t latencies;    /**< how many ::mien_live_add_latency has added */
  double latency_median; /**< seconds, at most 9 % too large; 0 without latencies */
  double latency_p99;    /**< the 99th percentile, likewise */
  int32_t recording;     /**< 1: it is being recorded; 0: it is not, or no longer, for want of space */
} mien_live_statistics;
#define MIEN_LIVE_STATISTICS_INIT                                                                            \
  { .struct_size = sizeof(mien_live_statistics) }

/** Fills `statistics`; #MIEN_USAGE for an unknown face. */
MIEN_HOST_API mien_status mien_live_get_statistics(const mien_live* live, size_t face,
                                                   mien_live_statistics* statistics);
/** Ends all recordings. */
MIEN_HOST_API mien_status mien_live_free(mien_live* live);
/**@}*/

#ifdef __cplusplus
} /* extern "C" */
#endif

/* NOLINTEND(modernize-*) */

#endif /* MIEN_HOST_H */
