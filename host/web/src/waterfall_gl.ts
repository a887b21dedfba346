// A waterfall by WebGL2: a ring of spectra in one texture, the frequencies of each row in a second, the palette in a third.
// Zooming, panning and another range of levels cost nothing but another drawing.
import { kBins, type History } from "./history";
import type { Range } from "./levels";
import { lowOf, type View } from "./view";
import type { WaterfallPainter } from "./waterfall";

const kVertex = `#version 300 es
void main() {
  vec2 corner = vec2((gl_VertexID & 1) * 4 - 1, (gl_VertexID & 2) * 2 - 1);
  gl_Position = vec4(corner, 0.0, 1.0);
}`;

// rows.xy: left edge and width of the row's spectrum in views; rows.zw: brightness = z + w * value, of 0 to 1.
const kFragment = `#version 300 es
precision highp float;
precision highp int;
uniform highp sampler2D spectra, rows, bins, palette;
uniform vec2 size;
uniform int newest, height;
out vec4 colour;
float value(int row, int bin) { return texelFetch(spectra, ivec2(bin, row), 0).r * 255.0; }
void main() {
  int age = int(size.y - gl_FragCoord.y);
  colour = texelFetch(palette, ivec2(0, 0), 0);
  if (age >= height || age > newest) return;
  int row = (newest - age) % height;
  vec4 place = texelFetch(rows, ivec2(0, row), 0);
  float count = texelFetch(bins, ivec2(0, row), 0).r;
  if (count < 1.0) return;
  float perPixel = count / (place.y * size.x);
  float from = (gl_FragCoord.x - 0.5) * perPixel - place.x / place.y * count;
  float to = from + perPixel;
  if (to <= 0.0 || from >= count) return;
  float level;
  if (perPixel >= 1.0) {
    int a = max(0, int(floor(from)));
    int b = min(int(count), max(a + 1, int(floor(to))));
    level = value(row, a);
    for (int i = a + 1; i < b && i < a + 32; ++i) level = max(level, value(row, i));
  } else {
    float centre = clamp((from + to) * 0.5 - 0.5, 0.0, count - 1.0);
    int i = int(floor(centre));
    level = mix(value(row, i), value(row, min(int(count) - 1, i + 1)), centre - float(i));
  }
  float bright = clamp(place.z + place.w * level, 0.0, 1.0);
  colour = texelFetch(palette, ivec2(int(bright * 255.0), 0), 0);
}`;

let verdict: boolean | null = null;

/** Whether the browser has WebGL2 that is not computed by the processor. */
export function hardwareGl(): boolean {
  if (verdict !== null) return verdict;
  const gl = document.createElement("canvas").getContext("webgl2", { failIfMajorPerformanceCaveat: true });
  const info = gl?.getExtension("WEBGL_debug_renderer_info");
  const name: unknown = gl && info ? gl.getParameter(info.UNMASKED_RENDERER_WEBGL) : "";
  verdict = gl !== null && !/swiftshader|llvmpipe|software/i.test(String(name));
  gl?.getExtension("WEBGL_lose_context")?.loseContext();
  return verdict;
}

function texture(gl: WebGL2RenderingContext, unit: number): WebGLTexture {
  const made = gl.createTexture();
  gl.activeTexture(gl.TEXTURE0 + unit);
  gl.bindTexture(gl.TEXTURE_2D, made);
  for (const name of [gl.TEXTURE_MIN_FILTER, gl.TEXTURE_MAG_FILTER]) gl.texParameteri(gl.TEXTURE_2D, name, gl.NEAREST);
  for (const name of [gl.TEXTURE_WRAP_S, gl.TEXTURE_WRAP_T]) gl.texParameteri(gl.TEXTURE_2D, name, gl.CLAMP_TO_EDGE);
  return made;
}

function program(gl: WebGL2RenderingContext): WebGLProgram | null {
  const made = gl.createProgram();
  for (const [kind, source] of [[gl.VERTEX_SHADER, kVertex], [gl.FRAGMENT_SHADER, kFragment]] as const) {
    const shader = gl.createShader(kind);
    if (!shader) return null;
    gl.shaderSource(shader, source);
    gl.compileShader(shader);
    gl.attachShader(made, shader);
  }
  gl.linkProgram(made);
  if (gl.getProgramParameter(made, gl.LINK_STATUS)) return made;
  console.warn("waterfall shader:", gl.getProgramInfoLog(made));
  return null;
}

export class GlWaterfall implements WaterfallPainter {
  readonly kind = "webgl";
  private uploaded = 0;
  private readonly rows: Float32Array;
  private readonly counts: Float32Array;
  private readonly newest: WebGLUniformLocation | null;
  private readonly size: WebGLUniformLocation | null;
  private readonly textures: WebGLTexture[];

  static make(canvas: HTMLCanvasElement, history: History): GlWaterfall | null {
    const gl = canvas.getContext("webgl2", { alpha: false, antialias: false, depth: false, powerPreference: "low-power" });
    if (!gl) return null;
    const linked = program(gl);
    return linked && new GlWaterfall(canvas, gl, linked, history);
  }

  private constructor(
    private readonly canvas: HTMLCanvasElement,
    private readonly gl: WebGL2RenderingContext,
    linked: WebGLProgram,
    private readonly history: History,
  ) {
    this.rows = new Float32Array(history.rows * 4);
    this.counts = new Float32Array(history.rows);
    this.textures = [0, 1, 2, 3].map((unit) => texture(gl, unit));
    gl.activeTexture(gl.TEXTURE0);
    gl.pixelStorei(gl.UNPACK_ALIGNMENT, 1);
    gl.texImage2D(gl.TEXTURE_2D, 0, gl.R8, kBins, history.rows, 0, gl.RED, gl.UNSIGNED_BYTE, null);
    gl.useProgram(linked);
    ["spectra", "rows", "bins", "palette"].forEach((name, unit) => gl.uniform1i(gl.getUniformLocation(linked, name), unit));
    gl.uniform1i(gl.getUniformLocation(linked, "height"), history.rows);
    this.newest = gl.getUniformLocation(linked, "newest");
    this.size = gl.getUniformLocation(linked, "size");
    gl.bindVertexArray(gl.createVertexArray());
    canvas.addEventListener("webglcontextlost", (event) => event.preventDefault());
    canvas.addEventListener("webglcontextrestored", () => canvas.dispatchEvent(new Event("waterfall-restored")));
  }

  setPalette(colours: Uint8ClampedArray): void {
    const { gl } = this;
    gl.activeTexture(gl.TEXTURE3);
    gl.texImage2D(gl.TEXTURE_2D, 0, gl.RGBA8, 256, 1, 0, gl.RGBA, gl.UNSIGNED_BYTE, new Uint8Array(colours));
  }

  resize(width: number, height: number): void {
    this.canvas.width = width;
    this.canvas.height = height;
  }

  draw(view: View, range: Range): void {
    const { gl, history, canvas } = this;
    this.upload();
    const viewLow = lowOf(view);
    const scale = 1 / (range.top - range.floor);
    for (let row = 0; row < history.rows; ++row) {
      const low = history.low[row] as number;
      this.rows[4 * row] = (low - viewLow) / view.span;
      this.rows[4 * row + 1] = ((history.high[row] as number) - low) / view.span;
      this.rows[4 * row + 2] = ((history.base[row] as number) - range.floor) * scale;
      this.rows[4 * row + 3] = (history.step[row] as number) * scale;
      this.counts[row] = history.bins[row] as number;
    }
    gl.activeTexture(gl.TEXTURE1);
    gl.texImage2D(gl.TEXTURE_2D, 0, gl.RGBA32F, 1, history.rows, 0, gl.RGBA, gl.FLOAT, this.rows);
    gl.activeTexture(gl.TEXTURE2);
    gl.texImage2D(gl.TEXTURE_2D, 0, gl.R32F, 1, history.rows, 0, gl.RED, gl.FLOAT, this.counts);
    gl.viewport(0, 0, canvas.width, canvas.height);
    // The ring is told by the newest row plus as many rows as there are behind it, so that the shader's ages stay within.
    const filled = Math.min(history.added, history.rows);
    const newest = history.added === 0 ? -1 : ((history.added - 1) % history.rows) + (filled === history.rows ? history.rows : 0);
    gl.uniform1i(this.newest, newest);
    gl.uniform2f(this.size, canvas.width, canvas.height);
    gl.drawArrays(gl.TRIANGLES, 0, 3);
  }

  release(): void {
    for (const one of this.textures) this.gl.deleteTexture(one);
    this.gl.getExtension("WEBGL_lose_context")?.loseContext();
  }

  private upload(): void {
    const { gl, history } = this;
    gl.activeTexture(gl.TEXTURE0);
    const first = Math.max(this.uploaded, history.added - history.rows);
    for (let number = first; number < history.added; ++number) {
      const row = number % history.rows;
      const values = history.rowValues(row);
      gl.texSubImage2D(gl.TEXTURE_2D, 0, 0, row, values.length, 1, gl.RED, gl.UNSIGNED_BYTE, values);
    }
    this.uploaded = history.added;
  }
}
