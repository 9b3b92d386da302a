/** Small helpers to make elements of the page. */

type Child = Node | string | undefined | false;
type Properties = Record<string, string | boolean | ((event: Event) => void) | undefined>;

/** An element with attributes, listeners (functions, by the event's name) and children. */
export function make<Name extends keyof HTMLElementTagNameMap>(
  name: Name,
  properties: Properties = {},
  ...children: Child[]
): HTMLElementTagNameMap[Name] {
  const element = document.createElement(name);
  for (const [key, value] of Object.entries(properties)) {
    if (typeof value === "function") element.addEventListener(key, value);
    else if (value === true) element.setAttribute(key, "");
    else if (typeof value === "string") element.setAttribute(key, value);
  }
  element.append(...children.filter((child): child is Node | string => child !== undefined && child !== false));
  return element;
}

export function button(text: string, properties: Properties = {}): HTMLButtonElement {
  return make("button", { type: "button", ...properties }, text);
}

/** An element that the page must have. */
export function byId<E extends HTMLElement>(id: string): E {
  const element = document.getElementById(id);
  if (!element) throw new Error(`the page has no element "${id}"`);
  return element as E;
}

const svgNamespace = "http://www.w3.org/2000/svg";

export function makeSvg<Name extends keyof SVGElementTagNameMap>(
  name: Name,
  attributes: Record<string, string>,
  ...children: (Node | string)[]
): SVGElementTagNameMap[Name] {
  const element = document.createElementNS(svgNamespace, name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  element.append(...children);
  return element;
}

/** Sets a text only where it differs, which spares the browser work. */
export function setText(element: Element, text: string): void {
  if (element.textContent !== text) element.textContent = text;
}

/** Whether keys typed now go into a field. */
export function isTyping(event: KeyboardEvent): boolean {
  const target = event.target as HTMLElement;
  const isField = target instanceof HTMLInputElement && target.type !== "range";
  return isField || target instanceof HTMLSelectElement || target instanceof HTMLTextAreaElement;
}
