/* What all objects have in common. */
#ifndef FERROWCORE_ASYNC_H
#define FERROWCORE_ASYNC_H

#include <ferrowcore/export.h>

FERROW_BEGIN_C

/* A notice of a list: `operation` is always 3 (another item was appended), `index` always 0. The host owns `item`, a new
 * handle with every notice, and gives it back by a _release. */
typedef void (*ferrow_list_callback)(unsigned long long operation, unsigned long long index, void* item);

/* Operations of the _set function of a list. Clearing needs no item. */
enum {
    ferrow_list_write = 0,  /* replace the item at `index`; beyond the end, the list becomes twice `index` long */
    ferrow_list_append = 3, /* `index` is not used */
    ferrow_list_clear = 4
};

/* asyncObject: these functions take the handle of an object of any class. One made by asyncObject_create has nothing but
 * them. */

FERROW_API void* asyncObject_create(void);
FERROW_API void asyncObject_release(void* handle);

/* Deleted: called with 1, by getUpdates, after the object has gone: no more callbacks come for it. */
FERROW_API void asyncObject_bindDeleted(void* handle, void (*callback)(int one));

/* Echo: answers Ping, by getUpdates. */
FERROW_API void asyncObject_bindEcho(void* handle, void (*callback)(int value));

/* Sends `value` to the object's serial context and back to Echo: a test of the whole path. */
FERROW_API void asyncObject_Ping(void* handle, int value);

FERROW_END_C

#endif
