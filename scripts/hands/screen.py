"""What a person sees of the program and does to it: controls by their spoken names, and a hand
on the pointer and the keyboard.

The program's accessibility tree says where a control is and what it shows; every deed goes
through the X server, as real input does.
"""

import os
import subprocess
import time
import warnings

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

# However large the toolkit draws, its accessibility tree counts in points.
SCALE = float(os.environ.get("QT_SCALE_FACTOR", "1"))

warnings.simplefilter("ignore", DeprecationWarning)


def wait_until(condition, what, seconds=10.0):
    """Polls until the condition gives something true, and returns that; fails after `seconds`."""
    deadline = time.monotonic() + seconds
    while True:
        result = condition()
        if result:
            return result
        assert time.monotonic() < deadline, f"still not after {seconds} s: {what}"
        time.sleep(0.03)


def hand(*words):
    """One or more chained xdotool commands."""
    subprocess.run(["xdotool", *map(str, words)], check=True)


def press(*keys):
    """Presses keys or chords such as "ctrl+comma", in turn, in the window with the focus."""
    hand("key", "--delay", 20, *keys)


def type_text(text):
    hand("type", "--delay", 15, text)


def screenshot(path):
    subprocess.run(["import", "-silent", "-window", "root", path], check=True)


def picture(left, top, width, height):
    """The pixels of that part of the screen, three bytes each: red, green, blue."""
    crop = f"{width}x{height}+{left}+{top}"
    command = ["import", "-silent", "-window", "root", "-depth", "8", "-crop", crop, "rgb:-"]
    return subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout


class Control:
    """One control on the screen. Everything is read afresh, as the screen would be."""

    def __init__(self, accessible):
        self.accessible = accessible

    @property
    def name(self):
        return self.accessible.get_name()

    @property
    def role(self):
        return self.accessible.get_role_name()

    def has(self, state):
        return self.accessible.get_state_set().contains(state)

    @property
    def showing(self):
        return self.has(Atspi.StateType.SHOWING)

    @property
    def checked(self):
        return self.has(Atspi.StateType.CHECKED)

    @property
    def focused(self):
        return self.has(Atspi.StateType.FOCUSED)

    @property
    def value(self):
        return self.accessible.get_value_iface().get_current_value()

    @property
    def maximum(self):
        return self.accessible.get_value_iface().get_maximum_value()

    @property
    def text(self):
        """What is written in the control: a field's content, a label's text."""
        field = self.accessible.get_editable_text_iface() or self.accessible.get_text_iface()
        if field:
            return Atspi.Text.get_text(field, 0, Atspi.Text.get_character_count(field))
        return self.accessible.get_description() or self.name

    @property
    def description(self):
        return self.accessible.get_description()

    @property
    def rectangle(self):
        """Left, top, width and height in screen pixels."""
        extents = self.accessible.get_component_iface().get_extents(Atspi.CoordType.SCREEN)
        sides = extents.x, extents.y, extents.width, extents.height
        return tuple(round(SCALE * side) for side in sides)

    def picture(self):
        """The pixels that the control shows, for telling whether two looks are alike."""
        return picture(*self.rectangle)

    def resting(self):
        """Whether the control stays in its place for three frames of a transition."""
        before = self.rectangle
        time.sleep(0.05)
        return self.rectangle == before

    def point(self, across=0.5, down=0.5):
        """The screen position at these fractions of the control's width and height."""
        left, top, width, height = self.rectangle
        return round(left + across * (width - 1)), round(top + down * (height - 1))

    def hover(self, across=0.5, down=0.5):
        hand("mousemove", *self.point(across, down))

    def click(self, across=0.5, down=0.5):
        hand("mousemove", *self.point(across, down), "click", 1)

    def double_click(self):
        hand("mousemove", *self.point(), "click", "--repeat", 2, "--delay", 60, 1)

    def drag(self, start, end):
        """Drags from one fraction of the control's width to another."""
        steps = [start + (end - start) * i / 8 for i in range(1, 9)]
        hand("mousemove", *self.point(start), "mousedown", 1)
        for step in steps:
            hand("mousemove", *self.point(step))
        hand("mouseup", 1)

    def rows(self):
        """A table's rows as lists of their cells' texts, from the first row to the last; None for
        the text of a cell that went while the others were read."""
        table = self.accessible.get_table_iface()
        columns = range(table.get_n_columns())

        def text(row, column):
            cell = table.get_accessible_at(row, column)
            return cell and cell.get_name()

        return [[text(row, column) for column in columns] for row in range(table.get_n_rows())]

    def row(self, number):
        """The first cell of a table's row, scrolled to where the pointer can reach it."""
        table = self.accessible.get_table_iface()
        cell = Control(table.get_accessible_at(number, 0))
        _, top, _, height = self.rectangle
        bottom = top + height
        top += Control(table.get_column_header(0)).rectangle[3]
        for _ in range(200):
            middle = cell.point()[1]
            if top < middle < bottom and cell.showing:
                break
            hand("mousemove", *self.point(), "click", 4 if middle < top else 5)
        return cell


class Screen:
    """The windows of one process."""

    def __init__(self, pid, seconds=20.0):
        self.pid = pid
        self.application = wait_until(self._application, "the program on the screen", seconds)
        self.application.set_cache_mask(Atspi.Cache.NONE)

    def _application(self):
        desktop = Atspi.get_desktop(0)
        desktop.clear_cache()
        for i in range(desktop.get_child_count()):
            child = desktop.get_child_at_index(i)
            try:
                if child and child.get_process_id() == self.pid and child.get_child_count():
                    return child
            except GLib.Error:
                continue  # it ended meanwhile
        return None

    def controls(self):
        """Every control that is showing, windows included, tables without their cells."""
        pending = [self.application]
        while pending:
            accessible = pending.pop()
            try:
                control = Control(accessible)
                if accessible is not self.application:
                    if not control.showing:
                        continue
                    yield control
                if control.role in ("table", "tree", "list"):
                    continue
                count = accessible.get_child_count()
                pending += [child for i in range(count) if (child := accessible.get_child_at_index(i))]
            except GLib.Error:
                continue  # it went away while we looked

    def look_for(self, name):
        """The control of that name where it shows, else None."""
        return next((control for control in self.controls() if control.name == name), None)

    def find(self, name, seconds=10.0):
        """The control of that name, once it shows and no transition moves it any more."""
        control = wait_until(lambda: self.look_for(name), f"{name!r} on the screen", seconds)
        wait_until(lambda: control.resting(), f"{name!r} at rest", seconds)
        return control

    def gone(self, name, seconds=10.0):
        wait_until(lambda: not self.look_for(name), f"{name!r} gone from the screen", seconds)

    def outline(self):
        """The showing controls, one a line: role, name, text and rectangle."""
        lines = []
        for control in self.controls():
            rectangle = control.accessible.get_component_iface() and control.rectangle
            lines.append(f"{control.role:16} {control.name!r} {control.text!r} {rectangle}")
        return "\n".join(lines)
