// Opens the page of a sample manager in Chromium and looks at every view as its readers do: in both languages, light and
// dark, wide and narrow, with the keyboard, with a screen reader's rules (axe-core), without scripts, and while things
// change.
//
// usage: node drive.js CHROMIUM SAMPLE PICTURE FOLDER   (pictures of all views go into the folder)
import { spawn } from "node:child_process";
import { mkdirSync, readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { createInterface } from "node:readline";
import process from "node:process";
import puppeteer from "puppeteer-core";

const [chromium, samplePath, picture, folder] = process.argv.slice(2);
const axe = readFileSync(createRequire(import.meta.url).resolve("axe-core"), "utf8");
const faults = [];
const expect = (isGood, words) => {
  if (!isGood) {
    faults.push(words);
  }
};

const sample = spawn(samplePath, [picture], { stdio: ["pipe", "pipe", "inherit"] });
const lines = createInterface({ input: sample.stdout })[Symbol.asyncIterator]();
const readLine = async () => (await lines.next()).value;
const ask = (line) => {
  sample.stdin.write(`${line}\n`);
  return readLine();
};

const listen = (page, name) => {
  page.on("dialog", (dialog) => {
    faults.push(`${name}: a dialog opened: ${dialog.message()}`);
    dialog.dismiss();
  });
  page.on("console", (message) => {
    // That somebody is not signed in is no fault of the page.
    if (message.type() === "error" && !/status of 4\d\d/.test(message.text())) {
      faults.push(`${name}: ${message.text()}`);
    }
  });
  page.on("pageerror", (error) => faults.push(`${name}: ${error.message}`));
};

const audit = async (page, name) => {
  await page.evaluate(axe);
  const report = await page.evaluate(() => window.axe.run({ runOnly: ["wcag2a", "wcag2aa", "wcag21a", "wcag21aa", "wcag22aa", "best-practice"] }));
  for (const violation of report.violations) {
    faults.push(`${name}: ${violation.id}: ${violation.help}: ${violation.nodes.map((node) => node.html.slice(0, 160)).join(" | ")}`);
  }
  const overflow = await page.evaluate(() => document.documentElement.scrollWidth - innerWidth);
  expect(overflow <= 0, `${name}: is ${overflow} pixels wider than its window`);
};

const look = async (browser, origin, views, role) => {
  // Every view in each language, in each scheme, and in each width.
  for (const [language, scheme] of [["en", "light"], ["de", "dark"]]) {
    const context = await browser.createBrowserContext();
    const page = await context.newPage();
    await page.setExtraHTTPHeaders({ "Accept-Language": language });
    await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: scheme }]);
    listen(page, `${role} ${language} ${scheme}`);
    if (role !== "nobody") {
      await page.goto(await ask(`address ${role}`));
      expect(!page.url().includes("code="), "the code stays in the address");
    }
    for (const [name, path] of Object.entries(views)) {
      for (const width of [1280, 390]) {
        await page.setViewport({ width, height: width === 390 ? 844 : 900 });
        await page.goto(origin + path);
        const words = `${role}-${name}-${language}-${scheme}-${width}`;
        expect((await page.$eval("html", (html) => html.lang)) === language, `${words}: is in another language`);
        await audit(page, words);
        await page.screenshot({ path: `${folder}/${words}.png`, fullPage: true });
      }
    }
    await context.close();
  }
};

const driveKeyboard = async (page, origin) => {
  await page.goto(`${origin}/jobs`);
  await page.keyboard.press("Tab");
  expect((await page.evaluate(() => document.activeElement.className)) === "skip", "the first stop is not the skip link");
  await page.keyboard.press("Enter");
  expect((await page.evaluate(() => document.activeElement.id)) === "content", "the skip link does not lead to the content");
  const stops = [];
  for (let count = 0; count < 12; ++count) {
    await page.keyboard.press("Tab");
    stops.push(await page.evaluate(() => {
      const { activeElement } = document;
      const { outlineStyle, outlineWidth } = getComputedStyle(activeElement);
      return { name: activeElement.id || activeElement.textContent, isSeen: outlineStyle !== "none" && parseFloat(outlineWidth) >= 2 };
    }));
  }
  expect(stops.every((stop) => stop.isSeen), `where the focus is cannot be seen: ${JSON.stringify(stops)}`);
  expect(stops.slice(0, 6).map((stop) => stop.name).join() === "text,state,machine,owner,order,Show", `the order of the stops is ${stops.map((stop) => stop.name)}`);
};

const driveLive = async (page, origin) => {
  await page.goto(`${origin}/jobs`);
  await page.waitForSelector("html[data-listening]");
  const begin = Date.now();
  const id = await ask("submit");
  await page.waitForSelector(`#job-${id}`, { timeout: 10000 });
  const submitted = Date.now() - begin;
  const printed = await ask("print");
  await page.waitForFunction((row) => document.getElementById(row).dataset.state === "Done", { timeout: 10000 }, `job-${printed}`);
  expect(/gear box.*: Done/.test(await page.$eval("#news", (news) => news.textContent)), "the change is not told to screen readers");
  console.log(`a new job was on the page after ${submitted} ms`);

  // What somebody is filling in stays while other things change.
  await page.goto(`${origin}/jobs/${id}`);
  await page.waitForSelector("html[data-listening]");
  await page.type("#before", "12");
  await page.evaluate(async (path) => {
    const token = document.querySelector("input[name=token]").value;
    await fetch(path, { method: "POST", headers: { "X-Page-Token": token } });
  }, `/api/v1/jobs/${id}/actions/hold`);
  await page.waitForFunction(() => document.getElementById("job-state").dataset.state === "Held", { timeout: 10000 });
  expect((await page.$eval("#before", (field) => field.value)) === "12", "what was being filled in is gone");
};

const driveWithoutScripts = async (browser, origin) => {
  const context = await browser.createBrowserContext();
  const page = await context.newPage();
  listen(page, "without scripts");
  await page.setJavaScriptEnabled(false);
  await page.goto(await ask("address operate"));
  const click = async (selector) => {
    await Promise.all([page.waitForNavigation(), page.click(selector)]);
  };
  await page.type("#text", "bracket");
  await click(".filters button");
  const rows = await page.$$eval("#jobs tbody tr", (all) => all.map((row) => row.dataset.name));
  expect(rows.join() === "bracket", `the search found ${rows}`);
  await click("#jobs tbody .main a");
  await click("form[action$='/actions/hold'] button");
  expect((await page.$eval("#job-state .word", (word) => word.textContent)) === "Held", "holding did nothing");
  await click("a[href$='/confirm/cancel']");
  await click("form[action$='/actions/cancel'] button");
  expect((await page.$eval("#job-state .word", (word) => word.textContent)) === "Cancelled", "cancelling did nothing");
  await click("form[action$='/actions/copy'] button");
  expect((await page.$eval("#job-state .word", (word) => word.textContent)) === "Queued", "printing again did nothing");
  await click("button[name=language]");
  expect((await page.$eval("html", (html) => html.lang)) === "de", "the language stays");
  await page.goto(`${origin}/machines`);
  await click("tbody .main a");
  await page.$eval("#material", (field) => { field.value = ""; }).catch(() => {});
  await page.type("#reason", "Pause!");
  await click("form[action$='/actions/pause'] button");
  expect((await page.$("form[action$='/actions/resume']")) !== null, "pausing did nothing");
  await click("form[action$='/actions/resume'] button");
  await click("form[action='/sign-out'] button");
  expect((await page.$(".message")) !== null, "signing out did nothing");
  await context.close();
};

const main = async () => {
  mkdirSync(folder, { recursive: true });
  const address = await readLine();
  expect((await readLine()) === "ready", "the sample is not ready");
  const { origin } = new URL(address);
  const browser = await puppeteer.launch({
    executablePath: chromium,
    args: process.getuid() === 0 ? ["--no-sandbox"] : [],
  });
  try {
    const context = await browser.createBrowserContext();
    const page = await context.newPage();
    listen(page, "page");
    await page.goto(address);
    const find = async (name) => (await page.$$eval("#jobs tbody tr", (rows, word) =>
      rows.find((row) => row.dataset.name.includes(word)).id.slice(4), name));
    const views = {
      jobs: "/jobs",
      empty: "/jobs?text=nothing+is+called+so",
      printing: `/jobs/${await find("gear box")}`,
      unconfirmed: `/jobs/${await find("pulley")}`,
      waiting: `/jobs/${await find("fine gears")}`,
      hostile: `/jobs/${await find("<img")}`,
      done: `/jobs/${await find("drone arm")}`,
      confirm: `/jobs/${await find("pulley")}/confirm/start-again`,
      machines: "/machines",
      machine: "/machines/Lumen",
      paused: "/machines/Kestrel%20180%2C%20in%20the%20back%20room",
      missing: "/nothing",
    };
    await look(browser, origin, views, "operate");
    await look(browser, origin, { jobs: "/jobs", printing: views.printing, machine: "/machines/Lumen" }, "see");
    await look(browser, origin, { "sign-in": "/jobs" }, "nobody");
    await driveKeyboard(page, origin);
    await driveLive(page, origin);
    await driveWithoutScripts(browser, origin);
  } finally {
    await browser.close();
    sample.stdin.end();
  }
};

await main().catch((error) => faults.push(error.stack));
for (const fault of new Set(faults)) {
  console.log(fault);
}
process.exitCode = faults.length === 0 ? 0 : 1;
