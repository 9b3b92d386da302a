import { byId, make, setText } from "./Elements.ts";
import type { Model } from "./Model.ts";
import { duration, grouped } from "./Text.ts";

const speeds = [0.1, 0.25, 1, 4, 10, 100, 1000];

/** The cursor in time: a slider, steps, an exact time, and play. */
export class TimeBar {
  private readonly slider = byId<HTMLInputElement>("v-slider");
  private readonly field = byId<HTMLInputElement>("v-time-field");
  private readonly speed = byId<HTMLSelectElement>("v-speed");
  private readonly playButton = byId<HTMLButtonElement>("v-play");
  private isDragged = false;
  /** Where play is, which batches follow; undefined while it rests. */
  private playing: { place: number; clock: number } | undefined;
  private announcement: ReturnType<typeof setTimeout> | undefined;

  constructor(private readonly model: Model) {
    const { axis } = model.source;
    byId("v-step-back").addEventListener("click", () => this.step(-1));
    byId("v-step-on").addEventListener("click", () => this.step(1));
    this.playButton.addEventListener("click", () => this.togglePlay());
    this.slider.addEventListener("input", () => this.slide());
    this.slider.addEventListener("change", () => {
      this.isDragged = false;
      this.show();
    });
    this.field.addEventListener("change", () => this.enter());
    this.field.addEventListener("keydown", (event) => event.key === "Enter" && this.field.blur());
    for (const speed of speeds) this.speed.append(make("option", { value: String(speed) }, `${speed} ×`));
    this.speed.value = String(speeds.find((speed) => (axis.end - axis.begin) / speed <= (speed < 1 ? 2 : 120)) ?? 1000);
    if (!axis.rises) setText(byId("v-time-unit"), "batch");
    byId("v-time").toggleAttribute("inert", axis.count === 0);
    model.on("cursor", () => this.show());
    model.on("data", () => this.showRange());
    this.showRange();
    this.show();
  }

  key(event: KeyboardEvent): boolean {
    const amount = event.shiftKey ? 10 : 1;
    const actions: Record<string, () => void> = {
      ArrowLeft: () => this.step(-amount),
      ArrowRight: () => this.step(amount),
      ArrowDown: () => this.step(-amount),
      ArrowUp: () => this.step(amount),
      Home: () => this.jump(0),
      End: () => this.jump(this.model.source.axis.count - 1),
      " ": () => this.togglePlay(),
    };
    actions[event.key]?.();
    return event.key in actions;
  }

  private jump(batch: number): void {
    this.pause();
    this.model.moveTo(batch);
  }
  private step(by: number): void {
    this.jump(this.model.batch + by);
  }

  private slide(): void {
    this.isDragged = true;
    this.jump(this.model.source.axis.batchUntil(Number(this.slider.value)));
  }

  private enter(): void {
    const place = Number(this.field.value.replace(",", "."));
    if (this.field.value.trim() !== "" && Number.isFinite(place)) this.jump(this.model.source.axis.batchUntil(place));
    this.show();
    this.field.value = String(this.model.source.axis.at(this.model.batch));
  }

  private togglePlay(): void {
    if (this.playing) return this.pause();
    const { axis } = this.model.source;
    if (axis.count < 2) return;
    const isAtEnd = this.model.batch === axis.count - 1;
    this.playing = { place: isAtEnd ? axis.begin : axis.at(this.model.batch), clock: performance.now() };
    this.showPlaying();
    requestAnimationFrame((now) => this.play(now));
  }

  private pause(): void {
    if (!this.playing) return;
    this.playing = undefined;
    this.showPlaying();
  }

  private play(now: number): void {
    if (!this.playing) return;
    const { axis } = this.model.source;
    const elapsed = Math.max(0, now - this.playing.clock) / 1000;
    this.playing.place += elapsed * Number(this.speed.value);
    this.playing.clock = now;
    this.model.moveTo(axis.batchUntil(this.playing.place));
    if (this.playing.place >= axis.end) return this.pause();
    requestAnimationFrame((next) => this.play(next));
  }

  private showPlaying(): void {
    this.playButton.setAttribute("aria-pressed", String(this.playing !== undefined));
    this.playButton.setAttribute("aria-label", this.playing ? "Pause" : "Play");
  }

  private showRange(): void {
    const { axis } = this.model.source;
    this.slider.min = String(axis.begin);
    this.slider.max = String(axis.end);
    setText(byId("v-begin"), this.placeText(axis.begin));
    setText(byId("v-end"), this.placeText(axis.end));
  }

  private placeText(place: number): string {
    return this.model.source.axis.rises ? `${Number(place.toPrecision(9))} s` : `batch ${place}`;
  }

  private show(): void {
    const { axis } = this.model.source;
    const { batch } = this.model;
    if (axis.count === 0) return setText(byId("v-batch"), "The recording has no batches");
    const place = axis.at(batch);
    if (!this.isDragged) this.slider.value = String(place);
    const spoken = `${this.placeText(place)}, batch ${batch + 1} of ${axis.count}`;
    this.slider.setAttribute("aria-valuetext", spoken);
    if (document.activeElement !== this.field || this.playing) this.field.value = String(place);
    setText(byId("v-batch"), `batch ${grouped(batch + 1)} of ${grouped(axis.count)}`);
    const since = place - axis.begin;
    setText(byId("v-since"), axis.rises && axis.begin !== 0 ? `${duration(since)} after the first` : "");
    // Spoken when the cursor rests, not at every step.
    clearTimeout(this.announcement);
    this.announcement = setTimeout(() => setText(byId("v-announcement"), `Time ${spoken}`), 500);
  }
}
