/* The life of an object: started library, made object, echo, end. */
#include <ferrowcore/ferrowcore.h>
#include <stdio.h>
#include <time.h>

static int echoed, gone;
static void onEcho(int value) { printf("echo %d\n", value), echoed = 1; }
static void onDeleted(int one) { printf("gone %d\n", one), gone = 1; }

int main(void) {
    init("ferrowcore.log", 0); /* the library's log; 1 would log more than errors */
    void* object = asyncObject_create();
    asyncObject_bindDeleted(object, onDeleted);
    asyncObject_bindEcho(object, onEcho);
    asyncObject_Ping(object, 42); /* to the object's context and back */
    while (!gone) {
        nanosleep(&(struct timespec){0, 10000000}, NULL);
        getUpdates(); /* runs the callbacks above, here */
        if (echoed && object != NULL) {
            asyncObject_release(object);
            object = NULL;
        }
    }
}
