import { Appearance, connectHeat } from "./Appearance.ts";
import type { DataSource } from "./data/DataSource.ts";
import { Diagram } from "./diagram/Diagram.ts";
import { byId, isTyping, setText } from "./Elements.ts";
import { Model } from "./Model.ts";
import { Details } from "./panels/Details.ts";
import { Profile, showFindings, showQuiet } from "./panels/Lists.ts";
import { SearchBox } from "./panels/SearchBox.ts";
import { Tabs } from "./panels/Tabs.ts";
import { Plots } from "./plots/Plots.ts";
import { Splitter } from "./Splitter.ts";
import { TimeBar } from "./TimeBar.ts";

/** Connects the page with a source, which may go on adding batches and values. */
export function startViewer(source: DataSource, svg: SVGSVGElement): Model {
  const model = new Model(source);
  const diagram = new Diagram(model, svg);
  const tabs = new Tabs();
  const select = (node: number) => {
    model.select(node);
    diagram.reveal(node);
  };
  new Details(model, (node) => diagram.reveal(node));
  new Profile(model);
  showQuiet(model);
  showFindings(model);
  tabs.setCount("v-quiet", source.quiet.filter((entry) => model.isSilent(entry.node)).length);
  tabs.setCount("v-findings", source.findings.length + source.warnings.length + (source.stopped === undefined ? 0 : 1));
  const search = new SearchBox(model, select);
  const timeBar = new TimeBar(model);
  // Before the plots, which paper shows in its colours.
  new Appearance(model);
  new Plots(model);
  new Splitter();
  connectHeat(model);
  setText(byId("v-diagram-name"), source.diagram);
  setText(byId("v-recording-name"), source.recording);

  model.on("selection", () => {
    if (model.selected === undefined) return;
    tabs.open("v-details");
    diagram.reveal(model.selected);
  });
  model.on("data", () => showProgress(source));
  showProgress(source);

  const help = byId<HTMLDialogElement>("v-help");
  byId("v-help-button").addEventListener("click", () => help.showModal());
  addEventListener("keydown", (event) => {
    if (isTyping(event) || event.ctrlKey || event.metaKey || event.altKey || help.open) return;
    const isPressed = event.key === " " && event.target instanceof HTMLButtonElement;
    const isChoice = event.target instanceof HTMLInputElement && event.target.type === "radio";
    if (isPressed || isChoice) return;
    if (event.key === "/") search.focus();
    else if (event.key === "?") help.showModal();
    else if (event.key === "Escape") model.select(undefined);
    else if (!timeBar.key(event) && !diagram.key(event)) return;
    event.preventDefault();
  });
  return model;
}

function showProgress({ progress }: DataSource): void {
  const bar = byId<HTMLProgressElement>("v-progress");
  bar.max = Math.max(1, progress.of);
  bar.value = progress.done;
  bar.hidden = progress.done >= progress.of;
  document.documentElement.dataset.ready = String(bar.hidden);
}
