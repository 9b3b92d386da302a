import { byId } from "../Elements.ts";

/** The tabs of the side panel: one panel is shown at a time. */
export class Tabs {
  private readonly tabs = [...byId("v-tabs").querySelectorAll<HTMLButtonElement>("[role=tab]")];

  constructor() {
    for (const tab of this.tabs) {
      tab.addEventListener("click", () => this.open(tab.getAttribute("aria-controls")!));
      tab.addEventListener("keydown", (event) => this.key(event));
    }
  }

  open(panel: string): void {
    for (const tab of this.tabs) {
      const controlled = tab.getAttribute("aria-controls")!;
      const isOpen = controlled === panel;
      tab.setAttribute("aria-selected", String(isOpen));
      tab.tabIndex = isOpen ? 0 : -1;
      byId(controlled).hidden = !isOpen;
    }
  }

  setCount(panel: string, count: number): void {
    const tab = this.tabs.find((candidate) => candidate.getAttribute("aria-controls") === panel);
    const badge = tab?.querySelector(".v-badge");
    if (badge) badge.textContent = count > 0 ? String(count) : "";
  }

  private key(event: KeyboardEvent): void {
    const step = event.key === "ArrowRight" ? 1 : event.key === "ArrowLeft" ? -1 : 0;
    if (step === 0) return;
    event.preventDefault();
    event.stopPropagation();
    const at = this.tabs.indexOf(event.currentTarget as HTMLButtonElement);
    const next = this.tabs[(at + step + this.tabs.length) % this.tabs.length];
    this.open(next.getAttribute("aria-controls")!);
    next.focus();
  }
}
