// Starting the browser that the tests drive.
import { chromium, type Browser } from "playwright-core";
import { existsSync } from "node:fs";

export const kSkipped = 77;

/** FERROW_CHROMIUM, or where distributions put it; null where there is none. */
export function findChromium(): string | null {
  const places = [process.env.FERROW_CHROMIUM, "/usr/bin/chromium", "/usr/bin/chromium-browser", "/usr/bin/google-chrome"];
  return places.find((one) => one && existsSync(one)) ?? null;
}

export async function launch(extra: string[] = []): Promise<Browser> {
  const executablePath = findChromium();
  if (!executablePath) throw new Error("no chromium");
  return chromium.launch({
    executablePath,
    args: [
      "--no-sandbox", "--autoplay-policy=no-user-gesture-required", "--enable-unsafe-swiftshader",
      "--disable-background-timer-throttling", "--disable-renderer-backgrounding", "--disable-backgrounding-occluded-windows", ...extra,
    ],
  });
}
