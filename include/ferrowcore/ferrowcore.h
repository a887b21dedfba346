/* Ferrowcore: the native core of an amateur-radio SDR application. C11 and C++.
 *
 * Life cycle. Call init once, before anything else; there is no shutdown. Make objects by _create, bind callbacks, push
 * values by _set, start things by verbs, and pump getUpdates and getRenderUpdates from then on. Give every handle back by
 * _release; when the last reference has gone, Deleted is called by the next getUpdates.
 *
 * Handles. A handle is an opaque pointer that holds one strong reference. Functions of a class take a handle of the class
 * or of a class built on it. Objects and list items that a callback brings come as new handles, which the host owns. A
 * null or foreign handle is logged and otherwise ignored; a stale one is a fault. _release and _delete accept null.
 *
 * Threads. Each object belongs to a serial context inside the library. _set, _reset and verbs do not touch the object:
 * they post a task that takes effect between sample blocks. Call them, _create, _release and _bind from one thread.
 * Callbacks run on the thread that pumps, never on one of the library's, but for the two of proxyModDemod. At most 1024
 * sets wait for one context; further ones are dropped, and logged.
 *
 * Values. _bind stores the callback (null unbinds) and, if the library has given the value, replays it by the next pump.
 * A value that the host sets does not come back as a callback. Callbacks have no context argument.
 *
 * Strings are narrow and NUL-terminated; those handed in are copied at once, those handed to a callback last for the call.
 *
 * Errors. No function reports failure; what goes wrong inside is logged. Only init raises an exception.
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
