import { Report } from "./data/Report.ts";
import { byId } from "./Elements.ts";
import { startViewer } from "./Viewer.ts";

async function openReport(): Promise<void> {
  const svg = document.querySelector<SVGSVGElement>("svg.kelvane");
  if (!svg) throw new Error("the page has no diagram: the file was cut or changed");
  const report = await Report.open(document);
  const model = startViewer(report, svg);
  await report.load(model.plotted);
}

openReport().catch((error: unknown) => {
  const box = byId("v-failure");
  box.hidden = false;
  box.textContent = `This report cannot be shown: ${error instanceof Error ? error.message : String(error)}.`;
});
