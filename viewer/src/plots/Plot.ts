import uPlot from "../../vendor/uplot/uPlot.esm.js";
import type { Series } from "../data/Series.ts";
import { button, make, setText } from "../Elements.ts";
import type { Model } from "../Model.ts";
import { cutTo, shortNumber, shortValue, typeStyle } from "../Text.ts";
import { drawBands, drawMarks } from "./Painting.ts";
import { isStepped, sampled } from "./Sampling.ts";

const componentColours = ["--vector", "--integer", "--float", "--boolean"];

/** One node's values over time: floats as lines, integers as steps, booleans as bands, texts as marks. */
export class Plot {
  readonly element: HTMLElement;
  private readonly readout = make("output", { class: "v-readout" });
  private readonly canvasHost = make("div", { class: "v-canvas" });
  private readonly cursorLine = make("div", { class: "v-cursor", title: "Drag to move in time" });
  private chart: uPlot | undefined;
  private drawnCount = -1;
  /** Whether the last point that was drawn is none of a value. */
  private isHeld = false;
  /** What the chart counts time from. */
  private origin = 0;
  /** What the value is where the pointer is. */
  private readonly hint = make("div", { class: "v-plot-hint" });

  constructor(
    private readonly model: Model,
    readonly node: number,
  ) {
    const info = model.node(node);
    const name = model.nameOf(node);
    const kind = info?.kind === "stream" ? "input" : info?.kind === "output" ? "output" : (info?.class ?? "");
    this.element = make(
      "section",
      { class: "v-plot", "aria-label": `Plot of ${name}` },
      make(
        "header",
        {},
        make("span", { class: `v-chip ${typeStyle(info?.type ?? "")}` }),
        button(name, { class: "v-link", click: () => model.select(node), title: "Show its details" }),
        make("span", { class: "v-faint" }, kind === name ? `#${node}` : `${kind} #${node}`),
        this.readout,
        button("×", { class: "v-icon", "aria-label": `Remove the plot of ${name}`, click: () => model.unplot(node) }),
      ),
      this.canvasHost,
    );
    this.cursorLine.addEventListener("pointerdown", (event) => this.drag(event));
  }

  /** Draws what the plots' stretch of time shows now. */
  redraw(width: number): void {
    const series = this.model.source.series(this.node);
    if (!series) return setText(this.canvasHost, "Values are being read…");
    if (width < 40) return;
    if (!this.chart) {
      this.canvasHost.textContent = "";
      this.chart = new uPlot(this.options(series, width), [[]], this.canvasHost);
      this.chart.over.append(this.cursorLine, this.hint);
      // Those that end a drag do not arrive here.
      this.chart.over.addEventListener("click", (event) => this.moveTo(event.clientX));
    }
    if (this.chart.width !== width) this.chart.setSize({ width, height: this.chart.height });
    this.drawnCount = series.count;
    const stretch = this.model.shown;
    const isDrawn = series.encoding === "boolean" || series.encoding === "text";
    this.origin = this.model.source.axis.origin;
    const from = stretch.from - this.origin;
    const to = Math.max(stretch.to - this.origin, from + 1e-9);
    const { places, numbers, isHeld } = isDrawn
      ? { places: [stretch.from, stretch.to], numbers: [[0, 1]], isHeld: false }
      : sampled(series, this.model.source.axis, stretch, Math.max(50, width - 70), this.chart.series.length - 1);
    this.isHeld = isHeld;
    this.chart.batch(() => {
      this.chart!.setData([places.map((place) => place - this.origin), ...numbers], false);
      this.chart!.setScale("x", { min: from, max: to });
    });
    this.moveCursor();
  }

  /** Draws only if values came. */
  update(width: number): void {
    if (this.drawnCount !== this.model.source.series(this.node)?.count) this.redraw(width);
  }

  /** Redraws with other colours. */
  recolour(): void {
    this.chart?.redraw(false);
  }

  moveCursor(): void {
    const { model } = this;
    const { axis } = model.source;
    if (!this.chart || axis.count === 0) return;
    const left = this.chart.valToPos(axis.at(model.batch) - this.origin, "x");
    this.cursorLine.hidden = left < -1 || left > this.chart.bbox.width / devicePixelRatio + 1;
    this.cursorLine.style.transform = `translateX(${left}px)`;
    const found = model.valueAtCursor(this.node);
    this.showReadout(found);
  }

  destroy(): void {
    this.chart?.destroy();
    this.element.remove();
  }

  private options(series: Series, width: number): uPlot.Options {
    const colour = (property: string) => () => getComputedStyle(this.element).getPropertyValue(property);
    const own = `--${typeStyle(series.type).split(" ")[0]}`;
    const isLow = series.encoding === "boolean" || series.encoding === "text";
    const components = series.encoding === "float" ? Math.max(1, series.components.length) : 1;
    const axis = { stroke: colour("--faint"), font: "11px Helvetica, Arial, sans-serif" };
    const lines = { grid: { stroke: colour("--grid"), width: 1 }, ticks: { show: false } };
    const { rises, origin } = this.model.source.axis;
    const unit = rises ? " s" : "";
    const sign = origin === 0 ? "" : "+";
    const steps = isStepped(series, this.model.source.axis) ? { paths: uPlot.paths.stepped!({ align: 1 }) } : {};
    return {
      width,
      height: isLow ? 74 : 128,
      padding: [8, 10, 0, 0],
      legend: { show: false },
      scales: { x: { time: false }, y: isLow ? { range: [0, 1] } : {} },
      axes: [
        {
          ...axis,
          ...lines,
          size: 24,
          gap: 3,
          space: 70,
          values: (_, splits) => splits.map((split) => `${sign}${Number(split.toPrecision(12))}${unit}`),
        },
        {
          ...axis,
          ...lines,
          size: 58,
          gap: 4,
          space: 26,
          show: true,
          values: (_, splits) => (isLow ? splits.map(() => "") : splits.map((split) => shortNumber(split))),
          ...(isLow ? { grid: { show: false } } : {}),
        },
      ],
      series: [
        {},
        ...Array.from({ length: components }, (_, i) => ({
          show: !isLow,
          stroke: colour(components === 1 ? own : componentColours[i % componentColours.length]),
          width: 1.4,
          points: {
            filter: (chart: uPlot, _: number, isShown: boolean) =>
              isShown && this.isHeld ? [...chart.data[0].keys()].slice(0, -1) : null,
          },
          ...steps,
        })),
      ],
      cursor: {
        sync: { key: "kelvane", setSeries: false },
        drag: { x: true, y: false, setScale: false, dist: 5 },
        points: { show: false },
        y: false,
        bind: {
          dblclick: () => () => {
            this.model.showAll();
            return null;
          },
        },
      },
      hooks: {
        setSelect: [
          (chart) => {
            const { left, width: selected } = chart.select;
            if (selected < 5) return;
            const place = (at: number) => chart.posToVal(at, "x") + this.origin;
            this.model.show(place(left), place(left + selected));
            chart.setSelect({ left: 0, width: 0, top: 0, height: 0 }, false);
          },
        ],
        setCursor: [(chart) => this.showHint(chart, series)],
        draw: [
          (chart) => {
            const draw = { boolean: drawBands, text: drawMarks, float: undefined, integer: undefined }[series.encoding];
            draw?.(chart, series, this.model.source.axis, this.model.shown, colour(own)());
          },
        ],
      },
    };
  }

  /** The value at the cursor; of components, each in the colour of its line. */
  private showReadout(found: { series: Series; index: number } | undefined): void {
    const value = found?.series.value(found.index);
    if (!Array.isArray(value)) {
      const text = typeof value === "number" ? shortNumber(value) : cutTo(String(value ?? "no value yet").replace(/\s+/g, " "), 32);
      return setText(this.readout, text);
    }
    if (this.readout.childElementCount !== value.length) {
      this.readout.textContent = "";
      for (const i of value.keys())
        this.readout.append(make("span", { style: `color: var(${componentColours[i % componentColours.length]})` }));
    }
    for (const [i, part] of value.entries())
      setText(this.readout.children[i], `${found!.series.components[i] ?? i + 1} ${Number(part.toPrecision(4))}`);
  }

  /** Says time and value where the pointer is in any of the plots. */
  private showHint(chart: uPlot, series: Series): void {
    const { left = -10 } = chart.cursor;
    this.hint.hidden = left < 0;
    if (left < 0) return;
    const { axis } = this.model.source;
    const batch = axis.batchUntil(chart.posToVal(left, "x") + this.origin);
    const index = series.lastUntil(batch);
    const value = index < 0 ? "–" : shortValue(series.value(index));
    setText(this.hint, `${shortNumber(axis.at(batch) - this.origin)}${axis.rises ? " s" : ""}: ${value}`);
    const isLeft = left < chart.bbox.width / devicePixelRatio / 2;
    this.hint.style.transform = `translateX(${left}px) translateX(${isLeft ? "8px" : "calc(-100% - 8px)"})`;
  }

  private moveTo(clientX: number): void {
    const { axis } = this.model.source;
    const left = clientX - this.chart!.over.getBoundingClientRect().left;
    this.model.moveTo(axis.batchUntil(this.chart!.posToVal(left, "x") + this.origin));
  }

  private drag(event: PointerEvent): void {
    event.stopPropagation();
    event.preventDefault();
    const line = this.cursorLine;
    line.setPointerCapture(event.pointerId);
    const move = (moved: PointerEvent) => this.moveTo(moved.clientX);
    line.addEventListener("pointermove", move);
    line.addEventListener("lostpointercapture", () => line.removeEventListener("pointermove", move), { once: true });
  }
}
