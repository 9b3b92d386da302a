import { byId } from "./Elements.ts";
import type { Heat, Model } from "./Model.ts";

type Chosen = "light" | "dark" | undefined;

/** Light or dark: the system's, until the reader chooses. Paper is always light. */
export class Appearance {
  private chosen: Chosen;
  private readonly system = matchMedia("(prefers-color-scheme: dark)");

  constructor(private readonly model: Model) {
    const toggle = byId<HTMLButtonElement>("v-theme");
    toggle.addEventListener("click", () => {
      this.chosen = this.isDark ? "light" : "dark";
      this.apply(this.chosen);
    });
    this.system.addEventListener("change", () => this.apply(this.chosen));
    addEventListener("beforeprint", () => this.apply("light"));
    addEventListener("afterprint", () => this.apply(this.chosen));
    this.apply(this.chosen);
  }

  private get isDark(): boolean {
    return (this.chosen ?? (this.system.matches ? "dark" : "light")) === "dark";
  }

  private apply(theme: Chosen): void {
    const root = document.documentElement;
    if (theme) root.dataset.theme = theme;
    else delete root.dataset.theme;
    byId("v-theme").setAttribute("aria-label", this.isDark ? "Use light colours" : "Use dark colours");
    this.model.change("theme");
  }
}

/** The choice of what colours the nodes: nothing, their runs or their time. */
export function connectHeat(model: Model): void {
  const choices = byId("v-heat").querySelectorAll<HTMLInputElement>("input");
  for (const choice of choices) {
    choice.addEventListener("change", () => {
      if (choice.checked) model.setHeat(choice.value as Heat);
    });
  }
}
