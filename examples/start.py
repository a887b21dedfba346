"""The life of an object: started library, made object, echo, end."""
import ferrowcore as fc

fc.init("ferrowcore.log")
gone = []
with fc.asyncObject() as thing:
    echoes = []
    thing.Deleted.listen(gone.append)
    thing.Echo.listen(echoes.append)
    thing.Ping(42)  # to the object's context and back
    fc.run(5, until=lambda: echoes)  # runs the listeners, here
    print("echo", echoes[0])
fc.run(5, until=lambda: gone)
print("gone", gone[0])
