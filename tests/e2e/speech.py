"""What a screen reader finds in every window of the program: no control without a name, and the
state and value of each in words.

Usage: speech.py PROGRAM FOLDER [unittest argument]..., in the session that scripts/session
starts. FOLDER receives a screenshot of each scene that fails.
"""

import collections

from scenes import Scene, perform
from screen import Control, press, wait_until

# What only groups other things needs no name of its own; the toolkit's table corner is a panel.
GROUPS = {"filler", "panel"}


def tree(accessible):
    """Everything below, on show or not, table cells included."""
    for i in range(accessible.get_child_count()):
        if child := accessible.get_child_at_index(i):
            yield Control(child)
            yield from tree(child)


class Speech(Scene):
    def says(self, role, pattern):
        control = self.deck.control(role)
        wait_until(lambda: control.description, f"words for {role}")
        self.assertRegex(control.description, f"^{pattern}$")

    def test_every_control_has_a_name(self):
        self.deck.play("Amber")
        self.deck.show("library")
        press("ctrl+comma")
        self.screen.find("Global preferences")
        press("F1")
        self.screen.find("Keys")
        controls = [c for c in tree(self.screen.application) if c.role not in GROUPS]
        counts = collections.Counter(control.role for control in controls)
        nameless = [control.role for control in controls if not control.name]
        print(f"{len(controls)} controls, {len(nameless)} without a name:", dict(counts))
        self.assertEqual(nameless, [])
        names = collections.Counter(control.name for control in controls)
        for side in ("Left", "Right"):
            for role in ("play/pause", "previous", "next", "seek", "volume", "shuffle", "repeat"):
                self.assertEqual(names[f"{side} deck: {role}"], 1, f"{side} {role}")
        self.assertGreaterEqual(counts["slider"], 4)
        self.assertEqual(counts["table"], 2)
        self.assertEqual(counts["dialog"], 2)

    def test_states_and_values_in_words(self):
        self.says("seek", "0:00 of 0:00")
        self.says("repeat", "Repeat: off")
        for state in ("all", "one"):
            self.deck.control("repeat").click()
            wait_until(lambda: self.deck.control("repeat").description.endswith(state), state)
        self.deck.play("Amber")
        self.says("volume", "100 %")
        self.deck.control("volume").click(0.5)
        self.says("volume", "50 %")
        self.assertAlmostEqual(self.deck.control("volume").value, 0.5, delta=0.01)
        seek = self.deck.control("seek")
        wait_until(lambda: "0:01" < seek.description < "0:30 of 0:30", "the time under way")
        self.assertRegex(seek.description, "^0:[0-2][0-9] of 0:30$")
        self.deck.overlay()
        self.says("play/pause", "playing")
        self.deck.press("play/pause")
        wait_until(lambda: self.deck.control("play/pause").description == "paused", "paused")
        # A screen reader moves the knob by itself, too.
        self.deck.control("seek").accessible.get_value_iface().set_current_value(20.0)
        wait_until(lambda: self.deck.elapsed() == 20, "where the screen reader put it")


if __name__ == "__main__":
    perform()
