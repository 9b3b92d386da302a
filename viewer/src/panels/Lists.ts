import type { QuietNode } from "../data/DataSource.ts";
import { button, byId, make } from "../Elements.ts";
import type { Model } from "../Model.ts";
import { duration, grouped, percent } from "../Text.ts";
import { causeList, nodeLink } from "./Details.ts";

/** The silent nodes, each with its reason. */
export function showQuiet(model: Model): void {
  const host = byId("v-quiet");
  const { quiet } = model.source;
  const cards = (entries: readonly QuietNode[]) =>
    entries.map((entry) =>
      make(
        "section",
        { class: "v-card" },
        make(
          "h3",
          {},
          nodeLink(model, entry.node),
          make("span", { class: "v-faint" }, ` ${model.node(entry.node)?.class}`),
        ),
        causeList(model, entry),
      ),
    );
  const silent = quiet.filter((entry) => model.isSilent(entry.node));
  const seldom = quiet.filter((entry) => !model.isSilent(entry.node));
  host.replaceChildren(
    make("h2", {}, "Silent nodes"),
    make(
      "p",
      { class: "v-faint" },
      silent.length > 0 ? "They gave no value in the whole recording." : "None: every node gave a value.",
    ),
    ...cards(silent),
  );
  if (seldom.length === 0) return;
  host.append(
    make("h2", {}, "Not always"),
    make("p", { class: "v-faint" }, "They gave values, but less often than their inputs would have let them."),
    ...cards(seldom),
  );
}

/** Findings in the diagram, and warnings of its evaluation. */
export function showFindings(model: Model): void {
  const host = byId("v-findings");
  const { findings, warnings, stopped } = model.source;
  if (findings.length + warnings.length === 0 && stopped === undefined)
    return host.replaceChildren(make("p", { class: "v-faint" }, "Nothing was found wrong."));
  host.replaceChildren(
    make("h2", {}, "Findings"),
    stopped !== undefined ? make("p", { class: "v-problem v-error" }, make("strong", {}, "Stopped: "), stopped) : "",
    ...findings.map((finding) =>
      make(
        "section",
        { class: `v-problem v-${finding.severity}` },
        make(
          "div",
          { class: "v-faint" },
          `${finding.severity} · ${finding.place} `,
          finding.node !== undefined && nodeLink(model, finding.node),
        ),
        make("div", {}, finding.text),
        finding.hint !== undefined && make("div", { class: "v-remedy" }, finding.hint),
      ),
    ),
    ...(warnings.length > 0 ? [make("h3", {}, "Warnings while it ran")] : []),
    ...warnings.map((warning) => make("p", { class: "v-problem v-warning" }, warning)),
  );
}

type Column = "name" | "runs" | "emissions" | "nanoseconds";
const columns: { key: Column; title: string; hint: string }[] = [
  { key: "name", title: "Node", hint: "by name" },
  { key: "runs", title: "Runs", hint: "by how often it ran" },
  { key: "emissions", title: "Values", hint: "by how many values it gave" },
  { key: "nanoseconds", title: "Time", hint: "by its share of the time" },
];

/** The table of all nodes that run, sorted by any of its columns. */
export class Profile {
  private sortedBy: Column = "nanoseconds";
  private isRising = false;
  private readonly body = make("tbody");
  private readonly heads = new Map<Column, HTMLElement>();

  constructor(private readonly model: Model) {
    const headRow = make("tr");
    for (const { key, title, hint } of columns) {
      const head = make(
        "th",
        { scope: "col" },
        button(title, { class: "v-sort", title: `Sort ${hint}`, click: () => this.sortBy(key) }),
      );
      this.heads.set(key, head);
      headRow.append(head);
    }
    const host = byId("v-profile");
    host.replaceChildren(
      make("h2", {}, "Profile"),
      make(
        "table",
        {},
        make("caption", { class: "v-hidden" }, "Runs and time of nodes"),
        make("thead", {}, headRow),
        this.body,
      ),
    );
    if (!model.source.nodes.some((node) => node.nanoseconds > 0)) this.sortedBy = "runs";
    this.show();
    model.on("selection", () => this.markSelected());
  }

  private sortBy(column: Column): void {
    this.isRising = column === this.sortedBy ? !this.isRising : column === "name";
    this.sortedBy = column;
    this.show();
  }

  private show(): void {
    const { sortedBy, model } = this;
    for (const [column, head] of this.heads) {
      if (column === sortedBy) head.setAttribute("aria-sort", this.isRising ? "ascending" : "descending");
      else head.removeAttribute("aria-sort");
    }
    const nodes = model.source.nodes.filter((node) => node.kind !== "constant");
    const time = nodes.reduce((sum, node) => sum + node.nanoseconds, 0);
    nodes.sort((a, b) => {
      const order = sortedBy === "name" ? a.name.localeCompare(b.name, "en") : a[sortedBy] - b[sortedBy];
      return (this.isRising ? order : -order) || a.id - b.id;
    });
    this.body.replaceChildren(
      ...nodes.map((node) => {
        const share = time > 0 ? node.nanoseconds / time : 0;
        const timeCell = make(
          "td",
          { title: duration(node.nanoseconds * 1e-9) },
          node.nanoseconds > 0 ? percent(node.nanoseconds, time) : "–",
        );
        timeCell.style.setProperty("--v-share", `${(share * 100).toFixed(1)}%`);
        return make(
          "tr",
          { "data-node": String(node.id) },
          make("th", { scope: "row" }, nodeLink(model, node.id)),
          make("td", {}, node.kind === "function" ? grouped(node.runs) : "–"),
          make("td", {}, grouped(node.emissions)),
          timeCell,
        );
      }),
    );
    this.markSelected();
  }

  private markSelected(): void {
    for (const row of this.body.rows)
      row.classList.toggle("v-selected-row", Number(row.dataset.node) === this.model.selected);
  }
}
