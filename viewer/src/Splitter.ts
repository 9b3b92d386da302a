import { byId } from "./Elements.ts";

/** The bar between diagram and plots, which is dragged, or moved by keys, to give one of them more room. */
export class Splitter {
  private readonly bar = byId("v-splitter");
  private readonly main = byId("v-main");
  private share = 42;

  constructor() {
    this.bar.addEventListener("pointerdown", (event) => {
      event.preventDefault();
      this.bar.setPointerCapture(event.pointerId);
    });
    this.bar.addEventListener("pointermove", (event) => {
      if (!this.bar.hasPointerCapture(event.pointerId)) return;
      const { top, height } = this.main.getBoundingClientRect();
      const below = this.bar.parentElement!.offsetHeight;
      this.set((100 * (height - (event.clientY - top) - below)) / height);
    });
    this.bar.addEventListener("keydown", (event) => {
      const step = event.key === "ArrowUp" ? 5 : event.key === "ArrowDown" ? -5 : 0;
      if (step === 0) return;
      event.preventDefault();
      event.stopPropagation();
      this.set(this.share + step);
    });
    this.set(this.share);
  }

  private set(share: number): void {
    this.share = Math.round(Math.max(10, Math.min(75, share)));
    this.main.style.setProperty("--v-plots", `${this.share}%`);
    this.bar.setAttribute("aria-valuenow", String(this.share));
  }
}
