import type uPlot from "../../vendor/uplot/uPlot.esm.js";
import type { Series } from "../data/Series.ts";
import type { TimeAxis } from "../data/TimeAxis.ts";
import { cutTo } from "../Text.ts";
import { forEachColumn } from "./Sampling.ts";

interface Stretch {
  from: number;
  to: number;
}

/** While a boolean is true there is a band; where it changes within a pixel, a paler one. A line says from when on it
 * has a value. */
export function drawBands(chart: uPlot, series: Series, axis: TimeAxis, stretch: Stretch, colour: string): void {
  const { ctx, bbox } = chart;
  const place = (index: number) => {
    const at = index < series.count ? axis.at(series.batchOf(index)) : axis.end;
    return Math.max(bbox.left, Math.min(bbox.left + bbox.width, chart.valToPos(at - axis.origin, "x", true)));
  };
  const top = bbox.top + bbox.height * 0.2;
  const height = bbox.height * 0.6;
  const pyramid = series.pyramid(0);
  ctx.save();
  ctx.fillStyle = colour;
  if (series.count > 0) ctx.fillRect(place(0), top + height, bbox.left + bbox.width - place(0), devicePixelRatio);
  forEachColumn(series, axis, stretch, Math.round(bbox.width), (begin, end) => {
    pyramid.look(begin, end);
    if (pyramid.largest !== 1) return;
    const left = place(begin);
    ctx.globalAlpha = pyramid.least === 1 ? 0.75 : 0.4;
    ctx.fillRect(left, top, Math.max(1, place(end) - left), height);
  });
  ctx.restore();
}

/** A mark where a text came, and the text where there is room. */
export function drawMarks(chart: uPlot, series: Series, axis: TimeAxis, stretch: Stretch, colour: string): void {
  const { ctx, bbox } = chart;
  const ratio = devicePixelRatio;
  ctx.save();
  ctx.beginPath();
  ctx.rect(bbox.left, bbox.top, bbox.width, bbox.height);
  ctx.clip();
  ctx.font = `${11 * ratio}px Helvetica, Arial, sans-serif`;
  ctx.textBaseline = "middle";
  ctx.textAlign = "left";
  ctx.fillStyle = colour;
  let free = -Infinity;
  forEachColumn(series, axis, stretch, Math.round(bbox.width), (begin, end) => {
    const left = chart.valToPos(axis.at(series.batchOf(begin)) - axis.origin, "x", true);
    ctx.globalAlpha = 0.6;
    ctx.fillRect(left, bbox.top + bbox.height * 0.2, ratio, bbox.height * 0.6);
    if (left < free || end - begin > 1) return;
    const text = cutTo((series.value(begin) as string).replace(/\s+/g, " "), 24);
    const { width } = ctx.measureText(text);
    const isBefore = left + width + 4 * ratio > bbox.left + bbox.width;
    if (isBefore && left - width - 4 * ratio < free) return;
    ctx.globalAlpha = 1;
    ctx.fillText(text, isBefore ? left - width - 4 * ratio : left + 4 * ratio, bbox.top + bbox.height / 2);
    free = left + width + 12 * ratio;
  });
  ctx.restore();
}
