/* Ferrowcore: the native core of an amateur-radio SDR application. Plain C11; C++ and every language with a
 * foreign-function interface can call it. This page says what holds for all functions; each header tells of one family
 * of classes.
 *
 * Life cycle. Call init once, before anything else. Make objects by _create, bind callbacks, push values by _set,
 * start things by verbs, and pump getUpdates and getRenderUpdates from then on, 20 times a second or more. Give every
 * handle back by _release. When an object's last reference has gone, the next getUpdates calls its Deleted: no
 * callback comes after that one. There is no shutdown: the process may end at any time.
 *
 * Names. Class_create makes an object. Class_bindName stores the callback of a property, list or event; Class_setName
 * writes a property or list; Class_resetName clears a list; other names are verbs. What has a _bind and a _set is a
 * property, what has only a _bind is an event.
 *
 * Handles. A handle is an opaque pointer that holds one strong reference: the object lives at least as long. Functions
 * of a class take a handle of that class or of one built on it: Radio functions any kind of radio, modDemod functions
 * any mode, and those of asyncObject any object. All _release functions are one.
 *
 * Ownership. The host owns the handles that it made and those that a callback brings: objects, list items (a new
 * handle with every notice, also for the same item) and arrays. It gives objects back by a _release and arrays by
 * their _delete. A handle that the host passes in stays the host's, and may be released on return: the library keeps a
 * reference of its own.
 *
 * Nulls. _release, _delete and mem_free accept null. A null handle, or one of another class, is logged by any other
 * function of an object and otherwise ignored. A null callback unbinds. A null string counts as empty. A stale handle
 * is a fault, and so is a null or foreign one in the functions of arrays, which check nothing.
 *
 * Threads. Call _create, _release, _bind, _set, _reset and verbs from one thread at a time. Callbacks run on the
 * thread that pumps, never on one of the library's, but for the two of proxyModDemod. One thread at a time calls
 * getUpdates, and one getRenderUpdates; that may be two threads. Callbacks may call all functions, the pumps among
 * them.
 *
 * When a value takes effect. Each object belongs to a serial context inside the library: an object made by _create to
 * one that they share, each radio, each transceiver that a radio makes and Wireless to one of its own. _set, _reset
 * and verbs do not touch the object: they post a task to its context and return at once. The tasks of a context run in
 * the order of the calls, between two blocks of samples, so a value is in effect from the next block on; where a
 * function says otherwise ("read by the first start"), it waits for that. At most 1024 of them wait for one context;
 * further ones are dropped, and logged as "Can't queue property set". asyncObject_Ping tells when the tasks before it
 * have run.
 *
 * Values. _bind stores the callback and, if the library has given the value, replays it by the next pump; a list
 * replays its items, an event nothing. A value that the host sets does not come back as a callback. The defaults that
 * are given here hold until someone sets another; they are not replayed. Numbers out of range are bounded or refused,
 * and never undefined behaviour. Properties that are "written by the library" have a _set like all others. At most
 * 65536 notices of a thread wait for getUpdates; further ones are dropped, and logged as "Can't queue property".
 * Callbacks have no context argument: a host that needs one makes a function for each object, and keeps it until
 * Deleted.
 *
 * Strings are narrow and NUL-terminated. Those handed in are copied at once, those handed to a callback last for the
 * call.
 *
 * Errors. No function reports failure; what goes wrong inside is logged, with the label of its task: Class.Name.set,
 * Class.Name.reset or Class.Verb(). Exceptions do not cross this interface, but for those of init and _create; one
 * that leaves a host's callback is logged by the pump, which goes on with the next.
 */
#ifndef FERROWCORE_FERROWCORE_H
#define FERROWCORE_FERROWCORE_H

#include <ferrowcore/agc.h>
#include <ferrowcore/arrays.h>
#include <ferrowcore/async.h>
#include <ferrowcore/ft8.h>
#include <ferrowcore/hpsdr.h>
#include <ferrowcore/hpsdr_np.h>
#include <ferrowcore/jt.h>
#include <ferrowcore/keyboard.h>
#include <ferrowcore/modes.h>
#include <ferrowcore/multi_psk.h>
#include <ferrowcore/psk.h>
#include <ferrowcore/radio.h>
#include <ferrowcore/runtime.h>
#include <ferrowcore/sdrplay.h>
#include <ferrowcore/soapy.h>
#include <ferrowcore/utility_modes.h>
#include <ferrowcore/vtrx.h>
#include <ferrowcore/wireless.h>
#include <ferrowcore/wsproxy.h>

#endif
