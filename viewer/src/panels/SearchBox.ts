import { byId, make } from "../Elements.ts";
import type { Model } from "../Model.ts";
import { searchRank } from "../Text.ts";

const mostHits = 12;

/** Finds nodes by label, class or #id while one types. */
export class SearchBox {
  private readonly field = byId<HTMLInputElement>("v-search");
  private readonly list = byId("v-hits");
  private hits: number[] = [];
  private chosen = 0;

  constructor(
    private readonly model: Model,
    private readonly onChoice: (node: number) => void,
  ) {
    this.field.addEventListener("input", () => this.search());
    this.field.addEventListener("keydown", (event) => this.key(event));
    this.field.addEventListener("focus", () => this.search());
    this.field.addEventListener("blur", () => this.close());
    // The field would lose the focus before the click arrives.
    this.list.addEventListener("pointerdown", (event) => event.preventDefault());
  }

  focus(): void {
    this.field.focus();
    this.field.select();
  }

  private search(): void {
    const ranked = this.model.source.nodes
      .map((node) => ({ node, rank: searchRank(this.field.value, node) }))
      .filter((hit): hit is typeof hit & { rank: number } => hit.rank !== undefined)
      .sort((a, b) => a.rank - b.rank || a.node.name.length - b.node.name.length || a.node.id - b.node.id)
      .slice(0, mostHits);
    this.hits = ranked.map(({ node }) => node.id);
    this.chosen = 0;
    this.list.replaceChildren(
      ...ranked.map(({ node }, i) =>
        make(
          "li",
          { role: "option", id: `v-hit-${i}`, click: () => this.choose(i) },
          make("span", {}, node.name),
          make("span", { class: "v-faint" }, `${node.name === node.class ? node.kind : node.class} #${node.id}`),
        ),
      ),
    );
    const isEmpty = this.field.value.trim() === "";
    if (!isEmpty && ranked.length === 0) this.list.append(make("li", { class: "v-faint" }, "No node is called so"));
    this.setOpen(!isEmpty);
    this.mark();
  }

  private key(event: KeyboardEvent): void {
    const { length } = this.hits;
    if (event.key === "Escape") {
      this.field.value = "";
      this.field.blur();
    } else if (event.key === "Enter") {
      this.choose(this.chosen);
    } else if (length > 0 && (event.key === "ArrowDown" || event.key === "ArrowUp")) {
      this.chosen = (this.chosen + (event.key === "ArrowDown" ? 1 : length - 1)) % length;
      this.mark();
    } else {
      return;
    }
    event.preventDefault();
    event.stopPropagation();
  }

  private mark(): void {
    for (const [i, item] of [...this.list.children].entries())
      item.setAttribute("aria-selected", String(i === this.chosen && this.hits.length > 0));
    if (this.hits.length > 0) this.field.setAttribute("aria-activedescendant", `v-hit-${this.chosen}`);
    else this.field.removeAttribute("aria-activedescendant");
  }

  private choose(index: number): void {
    const node = this.hits[index];
    if (node === undefined) return;
    this.field.blur();
    this.onChoice(node);
  }

  private close(): void {
    this.setOpen(false);
  }
  private setOpen(isOpen: boolean): void {
    this.list.hidden = !isOpen;
    this.field.setAttribute("aria-expanded", String(isOpen));
  }
}
