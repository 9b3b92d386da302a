// The page in headless Chromium, opened from disk: with a made-up report, and with one of a million updates.
import assert from "node:assert/strict";
import { existsSync, mkdtempSync, readdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { execFileSync } from "node:child_process";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { reportPage, sample } from "./sample.mjs";

const { chromium } = createRequire(import.meta.url)("playwright-core");
const page = readFileSync("viewer/dist/viewer.html", "utf8");
const folder = mkdtempSync(join(tmpdir(), "kelvane-viewer-"));
let browser;

before(async () => {
  const quiet = ["gpu", "quic", "background-networking", "component-update", "sync"].map((what) => `--disable-${what}`);
  browser = await chromium.launch({
    executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
    args: ["--no-sandbox", "--no-first-run", ...quiet],
  });
});
after(async () => {
  await browser?.close();
  rmSync(folder, { recursive: true });
});

function fileOf(name, report) {
  const file = join(folder, `${name}.html`);
  writeFileSync(file, reportPage(page, report));
  return `file://${file}`;
}

/** Opens a page and hands it to a check; fails where it wrote to the console, failed, or asked for more than itself. */
async function opened(address, options, check) {
  const tab = await browser.newPage(options);
  const complaints = [];
  tab.on("console", (message) => complaints.push(message.text()));
  tab.on("pageerror", (error) => complaints.push(error.message));
  tab.on("request", (request) => request.url() !== address && complaints.push(request.url()));
  const begin = performance.now();
  await tab.goto(address);
  await tab.waitForFunction(() => document.documentElement.dataset.ready === "true");
  await check(tab, performance.now() - begin);
  await tab.close();
  assert.deepEqual(complaints, []);
}
const wide = { viewport: { width: 1400, height: 900 }, colorScheme: "light" };
const wireValue = (tab, node) => tab.locator(`text.value[data-node="${node}"]`).textContent();
const settled = (tab) =>
  tab.evaluate(() => new Promise((resolve) => requestAnimationFrame(() => requestAnimationFrame(resolve))));

test("the cursor's keys, slider and field change the values at wires", async () => {
  await opened(fileOf("cursor", sample()), wide, async (tab) => {
    const time = () => tab.inputValue("#v-time-field");
    const rows = [
      // keys, then the time, the value of "steps", and whether its wire stands out
      ["End", "19.99", "5", false],
      ["Home", "0", "", false],
      ["ArrowRight", "0.01", "", false],
      ["Shift+ArrowRight", "0.11", "", false],
      ["ArrowLeft", "0.1", "", false],
    ];
    for (const [key, expected, steps] of rows) {
      await tab.keyboard.press(key);
      await settled(tab);
      assert.deepEqual([await time(), await wireValue(tab, 7)], [expected, steps], key);
    }
    await tab.fill("#v-time-field", "3.795");
    await tab.keyboard.press("Enter");
    await settled(tab);
    assert.deepEqual([await time(), await wireValue(tab, 7)], ["3.79", "1"]);
    const isNow = () =>
      tab.evaluate(() => document.querySelector('path.wire[data-from="7"]').classList.contains("v-now"));
    assert.equal(await isNow(), true);
    await tab.locator("#v-slider").evaluate((slider) => {
      slider.value = "12";
      slider.dispatchEvent(new Event("input"));
      slider.dispatchEvent(new Event("change"));
    });
    await settled(tab);
    assert.deepEqual([await time(), await wireValue(tab, 7), await isNow()], ["12", "3", false]);
    await tab.locator("#v-diagram").focus();
    await tab.keyboard.press("Space");
    await tab.waitForFunction(() => Number(document.getElementById("v-time-field").value) > 12.2);
    await tab.keyboard.press("Space");
    await settled(tab);
    const rested = await time();
    await tab.waitForTimeout(150);
    assert.equal(await time(), rested);
    await tab.waitForFunction(
      (spoken) => document.getElementById("v-announcement").textContent.includes(`Time ${spoken} s`),
      rested,
    );
  });
});

test("nodes are found, explained and plotted", async () => {
  await opened(fileOf("nodes", sample({ batches: 1000 })), wide, async (tab) => {
    await tab.keyboard.press("/");
    await tab.keyboard.type("heading");
    await tab.keyboard.press("Enter");
    await settled(tab);
    const details = tab.locator("#v-details");
    assert.match(await details.innerText(), /it never gave a value[^]*no stream "magnetometer"[^]*record it/);
    await details.getByRole("button", { name: "magnetometer", exact: true }).first().click();
    await settled(tab);
    assert.match(await details.innerText(), /Input stream, node #4/);

    const plots = () => tab.locator(".v-plot .v-link").allInnerTexts();
    assert.deepEqual(await plots(), ["step count", "strength", "is above", "phase now", "force", "acceleration"]);
    const wire = await tab.locator('path.hit[data-from="5"]').boundingBox();
    await tab.mouse.click(wire.x + wire.width / 2, wire.y + wire.height / 2);
    await settled(tab);
    assert.equal((await plots())[0], "smoothed");
    await tab.getByRole("button", { name: "Remove the plot of smoothed" }).click();
    await settled(tab);
    assert.equal((await plots()).length, 6);

    await tab.locator('g.node[data-node="7"]').click();
    await settled(tab);
    assert.match(await details.innerText(), /steps[^]*Counter[^]*Runs\s+2\s/);
    await tab.getByRole("tab", { name: "Silent" }).click();
    assert.deepEqual(await tab.locator("#v-quiet h3").allInnerTexts(), [
      "heading Heading",
      "north VariableOutput",
      "steps Counter",
    ]);
    await tab.getByRole("tab", { name: "Findings" }).click();
    assert.match(await tab.locator("#v-findings").innerText(), /input "length" of "smoothed" is not connected/);
    await tab.getByRole("tab", { name: "Profile" }).click();
    const order = () => tab.locator("#v-profile tbody th").allInnerTexts();
    const byTime = await order();
    await tab.getByRole("button", { name: "Node" }).click();
    const byName = await order();
    assert.deepEqual([byTime[0], byName[0], byName.length], ["Norm", "above the limit", byTime.length]);
    await tab.getByText("runs", { exact: true }).click();
    await settled(tab);
    const fill = (node) =>
      tab.locator(`g.node[data-node="${node}"] .body`).evaluate((body) => getComputedStyle(body).fill);
    assert.notEqual(await fill(5), await fill(4));
  });
});

test("plots are zoomed by dragging, and their cursor is dragged", async () => {
  await opened(fileOf("plots", sample()), wide, async (tab) => {
    const over = await tab.locator(".v-plot .u-over").nth(1).boundingBox();
    const at = (share) => [over.x + over.width * share, over.y + over.height / 2];
    const drag = async (from, to) => {
      await tab.mouse.move(...at(from));
      await tab.mouse.down();
      await tab.mouse.move(...at((from + to) / 2));
      await tab.mouse.move(...at(to));
      await tab.mouse.up();
      await settled(tab);
    };
    const time = async () => Number(await tab.inputValue("#v-time-field"));
    await tab.mouse.click(...at(0.5));
    await settled(tab);
    assert.ok(Math.abs((await time()) - 10) < 0.1, `${await time()} s`);
    await drag(0.5, 0.75);
    assert.ok(Math.abs((await time()) - 15) < 0.1, `${await time()} s`);
    await drag(0.2, 0.4);
    await tab.mouse.click(...at(0));
    await settled(tab);
    assert.ok(Math.abs((await time()) - 4) < 0.2, `${await time()} s`);
    await tab.mouse.dblclick(...at(0.9));
    await settled(tab);
    await tab.mouse.click(...at(0.9));
    await settled(tab);
    assert.ok(Math.abs((await time()) - 18) < 0.2, `${await time()} s`);
  });
});

test("plots of seconds since 1970 count from the beginning", async () => {
  await opened(fileOf("epoch", sample({ begin: 1_700_000_000 })), wide, async (tab) => {
    const over = await tab.locator(".v-plot .u-over").first().boundingBox();
    await tab.mouse.click(over.x + over.width / 2, over.y + over.height / 2);
    await settled(tab);
    assert.match(await tab.inputValue("#v-time-field"), /^17000000(09\.9|10)/);
    assert.match(await tab.locator(".v-plot-hint").first().textContent(), /^(9\.9\d*|10(\.\d+)?) s: 2$/);
  });
});

test("two fingers zoom the diagram", async () => {
  const options = { viewport: { width: 360, height: 740 }, isMobile: true, hasTouch: true };
  await opened(fileOf("touch", sample({ batches: 10 })), options, async (tab) => {
    const width = () =>
      tab.evaluate(() => Number(document.querySelector("svg.diagram").getAttribute("viewBox").split(" ")[2]));
    const before = await width();
    const touches = await tab.context().newCDPSession(tab);
    const fingers = (type, apart) =>
      touches.send("Input.dispatchTouchEvent", {
        type,
        touchPoints: apart
          ? [
              { x: 180 - apart, y: 250, id: 1 },
              { x: 180 + apart, y: 250, id: 2 },
            ]
          : [],
      });
    await fingers("touchStart", 20);
    for (const apart of [30, 45, 60, 80]) await fingers("touchMove", apart);
    await fingers("touchEnd");
    await settled(tab);
    const after = await width();
    assert.ok(after < before / 2.5 && after > before / 6, `${before} to ${after}`);
  });
});

test("the diagram pans and zooms", async () => {
  await opened(fileOf("zoom", sample({ batches: 10 })), wide, async (tab) => {
    const box = () =>
      tab.evaluate(() => document.querySelector("svg.diagram").getAttribute("viewBox").split(" ").map(Number));
    const host = await tab.locator("#v-diagram").boundingBox();
    const fitted = await box();
    await tab.mouse.move(host.x + 100, host.y + host.height - 20);
    await tab.mouse.wheel(0, -300);
    await settled(tab);
    const zoomed = await box();
    assert.ok(zoomed[2] < fitted[2] * 0.8);
    await tab.mouse.down();
    await tab.mouse.move(host.x + 200, host.y + host.height - 60, { steps: 4 });
    await tab.mouse.up();
    const dragged = await box();
    assert.ok(dragged[0] < zoomed[0] && dragged[1] > zoomed[1] && Math.abs(dragged[2] - zoomed[2]) < 1e-6);
    await tab.getByRole("button", { name: "Fit the whole diagram" }).click();
    assert.deepEqual(await box(), fitted);
  });
});

test("colours follow the system, and the toggle overrules it", async () => {
  await opened(fileOf("theme", sample({ batches: 10 })), { ...wide, colorScheme: "dark" }, async (tab) => {
    const surface = () => tab.evaluate(() => getComputedStyle(document.body).backgroundColor);
    assert.equal(await surface(), "rgb(20, 23, 28)");
    await tab.getByRole("button", { name: "Use light colours" }).click();
    assert.equal(await surface(), "rgb(255, 255, 255)");
    await tab.getByRole("button", { name: "Use dark colours" }).click();
    assert.equal(await surface(), "rgb(20, 23, 28)");
    await tab.pdf();
  });
});

test("nothing overflows at any width, and every button has a name", async () => {
  for (const width of [320, 360, 799, 801, 1024, 1600]) {
    const options = { viewport: { width, height: 740 }, isMobile: width < 800, hasTouch: width < 800 };
    await opened(fileOf("width", sample({ batches: 300 })), options, async (tab) => {
      await tab.locator('g.node[data-node="10"]').first().dispatchEvent("pointerdown");
      assert.equal(await tab.evaluate(() => document.documentElement.scrollWidth), width);
      const nameless = await tab.evaluate(() =>
        [...document.querySelectorAll("button, input, select")]
          .filter((element) => !element.textContent.trim() && !element.ariaLabel && !element.labels?.length)
          .map((element) => element.outerHTML),
      );
      assert.deepEqual(nameless, []);
    });
  }
});

test("a recording without batches, and a page that was cut, are said to be so", async () => {
  await opened(fileOf("empty", { ...sample({ batches: 0 }), stopped: "at once" }), wide, async (tab) => {
    assert.match(await tab.locator("#v-batch").innerText(), /no batches/);
    assert.match(await tab.locator("#v-details").innerText(), /Stopped: at once/);
  });
  const cut = readFileSync(join(folder, "cursor.html"), "utf8").replace('id="kelvane-values-2"', 'id="lost"');
  writeFileSync(join(folder, "cut.html"), cut);
  const tab = await browser.newPage();
  await tab.goto(`file://${join(folder, "cut.html")}`);
  await tab.locator("#v-failure").waitFor();
  assert.match(await tab.locator("#v-failure").innerText(), /no element "kelvane-values-2": the file was cut/);
  await tab.close();
});

/** What a result's line carries, as the page writes it. */
function valueText({ timestamp: _, name: __, ...value }) {
  const [content] = Object.values(value);
  const components = (names) => names.map((name) => `${name} ${content[name]}`).join("\n");
  if ("vectorValue" in value) return components(["x", "y", "z"]);
  if ("orientationValue" in value) return components(["w", "x", "y", "z"]);
  return String(content);
}

const examples = readdirSync("examples").filter((name) => existsSync(`examples/${name}/recording.jsonl`));
test("the examples' reports say what their results are", { skip: !process.env.KELVANE }, async () => {
  for (const name of examples) {
    const file = join(folder, `${name}.html`);
    const inputs = [`examples/${name}/diagram.kelvane`, `examples/${name}/recording.jsonl`];
    execFileSync(process.env.KELVANE, ["report", "-q", ...inputs, "-o", file]);
    const lines = readFileSync(`examples/${name}/expected.jsonl`, "utf8").trim().split("\n");
    const results = lines.map((line) => JSON.parse(line));
    await opened(`file://${file}`, wide, async (tab) => {
      const nodes = await tab.evaluate(() => JSON.parse(document.getElementById("kelvane-report").textContent).nodes);
      const outputs = nodes.filter((node) => node.kind === "output");
      for (const share of [0, 0.2, 0.5, 0.77, 1]) {
        const { timestamp } = results[Math.round(share * (results.length - 1))];
        const expected = new Map();
        for (const result of results) if (result.timestamp <= timestamp) expected.set(result.name, valueText(result));
        await tab.fill("#v-time-field", String(timestamp));
        await tab.keyboard.press("Enter");
        await settled(tab);
        for (const [output, text] of expected) {
          const { id } = outputs.find((node) => node.name === output);
          const shown = await tab.locator(`#v-details .v-feeder[data-node="${id}"] .v-value`).textContent();
          // Long texts are cut.
          const wanted = shown.endsWith(" …") ? `${text.slice(0, shown.length - 2)} …` : text;
          assert.equal(shown, wanted, `${name}: ${output} at ${timestamp} s`);
        }
      }
    });
  }
});

test("a million updates open and move fast enough", async () => {
  // 55 chains of functions over 10 000 batches: 1.1 million values, 168 nodes; and a few series of half a million.
  for (const [name, size] of [
    ["many nodes", { batches: 10_000, width: 55 }],
    ["long series", { batches: 500_000 }],
  ]) {
    await opened(fileOf("large", sample(size)), wide, async (tab, milliseconds) => {
      const frames = await tab.evaluate(async () => {
        const slider = document.getElementById("v-slider");
        const end = Number(slider.max);
        const begin = performance.now();
        let count = 0;
        for (; performance.now() - begin < 1500; ++count) {
          slider.value = String(((count * 37) % 1000) * (end / 1000));
          slider.dispatchEvent(new Event("input"));
          await new Promise((resolve) => requestAnimationFrame(resolve));
        }
        return count / ((performance.now() - begin) / 1000);
      });
      console.log(
        `${name}: opened with all values in ${milliseconds.toFixed(0)} ms, ${frames.toFixed(0)} frames a second`,
      );
      assert.ok(milliseconds < 20_000 && frames > 5);
    });
  }
});
