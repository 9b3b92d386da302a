#!/usr/bin/env python3
"""Writes the recordings of the examples, each from the physical model that its function states.

    python3 examples/make_recordings.py

Everything random comes from generators with fixed seeds, so that every run writes the same bytes. Values are rounded
to the resolution that a sensor of the kind would have; times are in seconds.
"""

import json
import math
import pathlib
import random

EXAMPLES = pathlib.Path(__file__).resolve().parent
GRAVITY = 9.81  # m/s^2


def noise(generator, deviation):
    """Nearly normal: twelve uniform numbers from 0 to 1 have variance 1 and mean 6."""
    return deviation * (sum(generator.random() for _ in range(12)) - 6)


def bump(phase, centre, width):
    """A bell over the phase of a cycle, 0 to 1, that joins at the ends; 1 at its centre."""
    distance = (phase - centre + 0.5) % 1 - 0.5
    return math.exp(-0.5 * (distance / width) ** 2)


def line(timestamp, name, key, value):
    return {"timestamp": timestamp, "name": name, key: value}


def vector(timestamp, name, components, digits):
    rounded = {axis: round(component, digits) + 0.0 for axis, component in zip("xyz", components)}
    return line(timestamp, name, "vectorValue", rounded)


def write(example, lines):
    text = "".join(json.dumps(entry, separators=(",", ":")) + "\n" for entry in lines)
    (EXAMPLES / example / "recording.jsonl").write_text(text, encoding="ascii", newline="\n")


def smoothing():
    """A pulse watch, once a second for two minutes; resolution 1 beat a minute.

    The wearer rests at 72, climbs stairs from 20 s to 60 s and rests again. The heart rate h follows its goal g, 72 or
    132, as dh/dt = (g - h) / T with T = 12 s upwards and 20 s downwards. The watch errs by 4 beats a minute (standard
    deviation).
    """
    generator = random.Random(1)
    rate = 72.0
    for second in range(120):
        goal, delay = (132, 12) if 20 <= second < 60 else (72, 20)
        rate += (goal - rate) / delay
        yield line(second + 1, "heart rate", "floatValue", round(rate + noise(generator, 4)))


def arrivals():
    """A small shop's door reports 1 for a person who comes in and -1 for one who leaves, to a tenth of a second.

    Over one hour, people arrive at random, a mean of 100 s apart (exponential), and stay for 200 to 500 s (uniform).
    The door is shut to newcomers after 50 minutes. The clock strikes every ten minutes. At time 0 the shop is not full.
    """
    generator = random.Random(7)
    events = [(600.0 * (i + 1), line(0, "clock strikes", "booleanValue", True)) for i in range(6)]
    now = 0.0
    while True:
        now -= 100 * math.log(1 - generator.random())
        if now > 3000:
            break
        stay = 200 + 300 * generator.random()
        events.append((round(now, 1), line(0, "door", "integerValue", 1)))
        events.append((round(now + stay, 1), line(0, "door", "integerValue", -1)))
    yield line(0, "full", "booleanValue", False)
    for timestamp, event in sorted(events, key=lambda event: event[0]):
        yield {**event, "timestamp": timestamp}


def steps():
    """An accelerometer at a walking wearer's belt, 50 Hz, m/s^2, resolution 0.01.

    x forward, y left, z up. At phase p of a step, counted from the foot's contact, the body's acceleration is
        up:       3 sin(2 pi p) + 0.8 sin(4 pi p + 0.6)
        forward:  1.2 sin(2 pi p + 1.9)
        left:     0.7 sin(pi (p + n)), n the number of the step, since the body sways once in two steps.
    The sensor adds gravity along its up axis, which leans forward by 8 degrees, and noise of 0.25 on each axis. The
    wearer stands until 2 s, takes 22 steps at 1.8 a second, stands for 3 s and takes 18 steps at 2.2 a second.
    """
    generator = random.Random(3)
    lean = math.radians(8)
    walks = [(2.0, 22, 1.8), (2.0 + 22 / 1.8 + 3.0, 18, 2.2)]  # start, steps, steps a second
    for sample in range(1, 1401):
        now = sample / 50
        forward = left = up = 0.0
        for start, count, pace in walks:
            done = (now - start) * pace
            if 0 <= done < count:
                number, phase = divmod(done, 1)
                up = 3 * math.sin(2 * math.pi * phase) + 0.8 * math.sin(4 * math.pi * phase + 0.6)
                forward = 1.2 * math.sin(2 * math.pi * phase + 1.9)
                left = 0.7 * math.sin(math.pi * (phase + number))
        up += GRAVITY
        felt = (forward * math.cos(lean) - up * math.sin(lean), left, forward * math.sin(lean) + up * math.cos(lean))
        yield vector(now, "accelerometer", [part + noise(generator, 0.25) for part in felt], 2)


def head_angles(now):
    """Heading, pitch and roll (radians) of the head in `orientation`, about z, y and x in this order."""
    def swing(start, length, angle):
        """Out to the angle and back within the length, as sin^2."""
        share = (now - start) / length
        return math.radians(angle) * math.sin(math.pi * share) ** 2 if 0 <= share <= 1 else 0.0

    share = min(max((now - 7) / 3, 0), 1)
    heading = swing(1, 2, 60) + swing(4, 2, -45) + math.radians(90) * 0.5 * (1 - math.cos(math.pi * share))
    return heading, swing(2, 3, 25) + swing(11, 2, -30), swing(5, 3, 35) + swing(10, 2, -20)


def rotation_matrix(heading, pitch, roll):
    """From the head to the room: Rz(heading) Ry(pitch) Rx(roll)."""
    ch, sh, cp, sp, cr, sr = (f(angle) for angle in (heading, pitch, roll) for f in (math.cos, math.sin))
    return [[ch * cp, ch * sp * sr - sh * cr, ch * sp * cr + sh * sr],
            [sh * cp, sh * sp * sr + ch * cr, sh * sp * cr - ch * sr],
            [-sp, cp * sr, cp * cr]]


def orientation():
    """A gyroscope (degrees a second, resolution 0.01) and an accelerometer (g, resolution 0.001) in a cap, 25 Hz.

    The head looks left and right, nods, tilts and at last turns by 90 degrees, as `head_angles` says. With heading h,
    pitch p and roll r, differentiated over 1 ms, the gyroscope feels
        x: r' - h' sin p,   y: p' cos r + h' cos p sin r,   z: -p' sin r + h' cos p cos r,
    plus an offset of (0.8, -0.6, 0) degrees a second, which an orientation from turn rates alone would drift by, and
    noise of 0.3. The accelerometer feels one g towards the room's up, the last row of the rotation matrix, the head's
    own shaking as noise of 0.02 on each axis.
    """
    generator = random.Random(5)
    for sample in range(1, 351):
        now = sample / 25
        angles = head_angles(now)
        rates = [(after - before) / 0.001
                 for before, after in zip(head_angles(now - 0.0005), head_angles(now + 0.0005))]
        (_, p, r), (dh, dp, dr) = angles, rates
        turn = (dr - dh * math.sin(p), dp * math.cos(r) + dh * math.cos(p) * math.sin(r),
                -dp * math.sin(r) + dh * math.cos(p) * math.cos(r))
        felt = [math.degrees(rate) + offset + noise(generator, 0.3) for rate, offset in zip(turn, (0.8, -0.6, 0.0))]
        yield vector(now, "gyroscope", felt, 2)
        yield vector(now, "accelerometer", [part + noise(generator, 0.02) for part in rotation_matrix(*angles)[2]], 3)


def strides():
    """A bending sensor in a knee sleeve (degrees, resolution 0.1) and a sole's heel pressure (0 to 100, whole), 50 Hz.

    The wearer stands for 1 s, takes 12 strides and stands again until 16 s; then the button "walk ended" is pressed.
    A stride lasts 1.1 s, varying by 4 % (standard deviation). At phase p of a stride, counted from the heel's contact,
        knee:  4 + a (14 b(p, 0.14, 0.06) + 56 b(p, 0.72, 0.085)),  b(p, c, w) = exp(-((p - c) / w)^2 / 2), cyclic,
    a the size of the stride, 1 varying by 5 %. The heel presses with 80 sin(pi p / 0.4) until p = 0.4 and with nothing
    from there. Noise: 0.4 degrees and 1.5 of pressure.
    """
    generator = random.Random(11)
    contacts, sizes = [1.0], []
    for _ in range(12):
        contacts.append(contacts[-1] + 1.1 * (1 + noise(generator, 0.04)))
        sizes.append(1 + noise(generator, 0.05))
    for sample in range(1, 801):
        now = sample / 50
        knee, pressure = 4.0, 0.0
        for start, end, size in zip(contacts, contacts[1:], sizes):
            if start <= now < end:
                phase = (now - start) / (end - start)
                knee += size * (14 * bump(phase, 0.14, 0.06) + 56 * bump(phase, 0.72, 0.085))
                pressure = 80 * math.sin(math.pi * phase / 0.4) if phase < 0.4 else 0.0
        yield line(now, "knee angle", "floatValue", round(knee + noise(generator, 0.4), 1) + 0.0)
        yield line(now, "heel pressure", "floatValue", max(0, round(pressure + noise(generator, 1.5))))
    yield line(now, "walk ended", "booleanValue", True)


def write_table(folder):
    """The recording as the table that a phone's application would write."""
    root = pathlib.Path(__file__).parent / folder
    updates = map(json.loads, (root / "recording.jsonl").read_text().splitlines())
    rows = [f'{update["timestamp"]},{",".join(str(part) for part in update["vectorValue"].values())}\n' for update in updates]
    titles = ",".join(f'"Acceleration {axis} (m/s^2)"' for axis in "xyz")
    (root / "phone.csv").write_text(f'"Time (s)",{titles}\n' + "".join(rows))


if __name__ == "__main__":
    for example in (smoothing, arrivals, steps, orientation, strides):
        write(example.__name__, example())
    write_table("steps")
