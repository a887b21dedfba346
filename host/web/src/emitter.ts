// Named events with typed contents.

export class Emitter<Events extends object> {
  private readonly listeners = new Map<keyof Events, ((value: never) => void)[]>();

  on<K extends keyof Events>(name: K, listener: (value: Events[K]) => void): void {
    this.listeners.set(name, [...(this.listeners.get(name) ?? []), listener]);
  }

  emit<K extends keyof Events>(name: K, value: Events[K]): void {
    for (const listener of this.listeners.get(name) ?? []) (listener as (value: Events[K]) => void)(value);
  }
}
