import type { ShownValue } from "./data/Series.ts";

/** A number as people like to read it: six significant digits, and no fewer than the whole ones of a number of ten. */
export function shortNumber(value: number): string {
  const size = Math.abs(value);
  if (!Number.isFinite(value)) return Number.isNaN(value) ? "NaN" : value < 0 ? "−∞" : "∞";
  if (size >= 1e6 && size < 1e10) return String(Math.round(value));
  if (size !== 0 && (size < 1e-4 || size >= 1e10)) return value.toExponential(5).replace(/\.?0+e/, "e");
  return String(Number(value.toPrecision(6)));
}

export function cutTo(text: string, length: number): string {
  const characters = [...text];
  return characters.length <= length
    ? text
    : characters
        .slice(0, length - 1)
        .join("")
        .trimEnd() + "…";
}

/** A value as it stands at a wire. */
export function shortValue(value: ShownValue): string {
  if (Array.isArray(value)) return shortComponents(value);
  if (typeof value === "number") return shortNumber(value);
  return cutTo(String(value).replace(/\s+/g, " "), 14);
}

/** Components to the digits that count beside the largest of them. */
function shortComponents(parts: number[]): string {
  const largest = Math.max(...parts.map((part) => (Number.isFinite(part) ? Math.abs(part) : 0)));
  const decimals = largest > 0 ? 2 - Math.floor(Math.log10(largest)) : 0;
  if (decimals > 6 || decimals < -6) return parts.map((part) => String(Number(part.toPrecision(3)))).join(", ");
  // Adding zero makes -0 zero.
  return parts.map((part) => String(Number(part.toFixed(Math.max(0, decimals))) + 0)).join(", ");
}

/** A value with all its digits. */
export function fullValue(value: ShownValue, components: readonly string[] = [], separator = ", "): string {
  if (!Array.isArray(value)) return String(value);
  return value.map((part, i) => (components[i] ? `${components[i]} ${part}` : String(part))).join(separator);
}

/** A length of time in seconds, with the units in which people would say it. */
export function duration(seconds: number): string {
  if (!Number.isFinite(seconds)) return "?";
  if (seconds < 0) return `−${duration(-seconds)}`;
  if (seconds === 0) return "0 s";
  if (seconds < 1e-3) return `${Number((seconds * 1e6).toPrecision(3))} µs`;
  if (seconds < 1) return `${Number((seconds * 1e3).toPrecision(3))} ms`;
  if (seconds < 120) return `${Number(seconds.toPrecision(3))} s`;
  const whole = Math.round(seconds);
  if (seconds < 7200) return `${Math.floor(whole / 60)} min ${whole % 60} s`;
  const minutes = Math.round(seconds / 60);
  if (seconds < 48 * 3600) return `${Math.floor(minutes / 60)} h ${minutes % 60} min`;
  return `${Number((seconds / 86400).toPrecision(3))} days`;
}

export function counted(count: number, singular: string, plural = `${singular}s`): string {
  return `${grouped(count)} ${count === 1 ? singular : plural}`;
}

/** A count with its thousands apart. */
export function grouped(count: number): string {
  return String(count).replace(/\B(?=(\d{3})+$)/g, "\u202f");
}

export function percent(part: number, whole: number): string {
  if (whole === 0) return "–";
  const share = (100 * part) / whole;
  if (share === 0) return "0 %";
  return share < 0.1 ? "< 0.1 %" : `${share.toFixed(1)} %`;
}

/** The class of style sheets that gives what carries values of this type its colour. */
export function typeStyle(type: string): string {
  const [element, isArray] = type.split(" ");
  const known = ["Float", "Integer", "Boolean", "Vector", "Orientation", "Sequence", "String"];
  if (element === "Sample") return "sequence array";
  if (!known.includes(element)) return "any";
  return element.toLowerCase() + (isArray ? " array" : "");
}

/** How well a node fits what was searched: the smaller, the better; nothing where it does not. */
export function searchRank(query: string, node: { id: number; name: string; class: string }): number | undefined {
  const wanted = query.trim().toLowerCase();
  if (wanted === "") return undefined;
  const id = `#${node.id}`;
  if (wanted.startsWith("#")) return id === wanted ? 0 : id.startsWith(wanted) ? 3 : undefined;
  const name = node.name.toLowerCase();
  const className = node.class.toLowerCase();
  if (name === wanted) return 0;
  if (name.startsWith(wanted)) return 1;
  if (className === wanted) return 2;
  if (name.includes(wanted)) return 3;
  if (className.includes(wanted)) return 4;
  return String(node.id) === wanted ? 5 : undefined;
}
