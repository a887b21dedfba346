// Mouse, fingers and wheel on the picture: a click tunes, a drag moves the picture, the passband or its edges, the wheel and two
// fingers zoom.

export type Grip = "picture" | "passband" | "low" | "high";

export interface Handlers {
  /** Fingers or mouse went up where they came down. */
  click(x: number): void;
  /** Moved by `dx` pixels since the last call. */
  drag(grip: Grip, dx: number, x: number): void;
  dragEnd(grip: Grip): void;
  zoom(x: number, factor: number): void;
  hover(x: number | null): void;
}

const kSlack = 4; // pixels that a click may wander

export function attachGestures(element: HTMLElement, gripOf: (target: EventTarget | null) => Grip, handlers: Handlers): void {
  const down = new Map<number, { x: number; y: number }>();
  let grip: Grip = "picture";
  let start = 0;
  let moved = false;
  let apart = 0;
  const place = (event: PointerEvent | WheelEvent): number => event.clientX - element.getBoundingClientRect().left;
  const spread = (): { distance: number; middle: number } => {
    const [a, b] = [...down.values()] as [{ x: number; y: number }, { x: number; y: number }];
    return { distance: Math.max(20, Math.hypot(a.x - b.x, a.y - b.y)), middle: (a.x + b.x) / 2 };
  };

  element.addEventListener("pointerdown", (event) => {
    if (event.button !== 0 || (event.target as HTMLElement).closest("button")) return;
    element.setPointerCapture(event.pointerId);
    down.set(event.pointerId, { x: place(event), y: event.clientY });
    if (down.size === 1) {
      grip = gripOf(event.target);
      start = place(event);
      moved = false;
    } else {
      moved = true;
      grip = "picture";
      apart = spread().distance;
    }
  });

  element.addEventListener("pointermove", (event) => {
    const x = place(event);
    const last = down.get(event.pointerId);
    if (!last) {
      handlers.hover(x);
      return;
    }
    if (down.size === 2) {
      const before = spread().middle;
      down.set(event.pointerId, { x, y: event.clientY });
      const { distance, middle } = spread();
      handlers.drag("picture", middle - before, middle);
      handlers.zoom(middle, distance / apart);
      apart = distance;
      return;
    }
    if (!moved && Math.abs(x - start) < kSlack) return;
    moved = true;
    down.set(event.pointerId, { x, y: event.clientY });
    handlers.drag(grip, x - last.x, x);
  });

  const up = (event: PointerEvent): void => {
    if (!down.delete(event.pointerId)) return;
    if (down.size > 0) return;
    if (moved) handlers.dragEnd(grip);
    else if (event.type === "pointerup" && (grip === "picture" || grip === "passband")) handlers.click(place(event));
  };
  element.addEventListener("pointerup", up);
  element.addEventListener("pointercancel", up);
  element.addEventListener("pointerleave", () => handlers.hover(null));
  element.addEventListener(
    "wheel",
    (event) => {
      event.preventDefault();
      const unit = event.deltaMode === 0 ? 1 : 30;
      if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) {
        handlers.drag("picture", -(event.deltaX || event.deltaY) * unit * 0.5, place(event));
        return;
      }
      const speed = event.ctrlKey ? 0.01 : 0.0025;
      handlers.zoom(place(event), Math.exp(Math.max(-1, Math.min(1, -event.deltaY * unit * speed))));
    },
    { passive: false },
  );
}
