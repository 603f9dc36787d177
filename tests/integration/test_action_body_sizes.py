#!/usr/bin/python3
"""The largest bodies of actions are carried out, and nothing larger."""

import unittest

from action_service import DONE, ActionService, MethodCall, action_mapping, declared
from scripted_object_manager import ScriptedObjectManager
from test_action_bodies import INPUTS, error

MAX_BODY_BYTES = 1024 * 1024


class Sizes(unittest.TestCase):
    """Bodies as long as they may be: the worker has memory for each of them."""

    def call(self, inputs, body):
        with ScriptedObjectManager(DONE) as manager, ActionService(manager.url, action_mapping(inputs)) as service:
            self.assertLessEqual(len(body), MAX_BODY_BYTES)
            workers = service.workers()
            answer = service.run(body)
            self.assertEqual(service.workers(), workers)
            return answer, manager.requests

    def test_longest_text(self):
        text = "x" * (MAX_BODY_BYTES - len('{"Text": ""}'))
        answer, requests = self.call(INPUTS, f'{{"Text": "{text}"}}')
        self.assertEqual(answer.status, 200)
        self.assertEqual(MethodCall(requests[0]).arguments, [("Text", None, text)])

    def test_longest_array(self):
        count = (MAX_BODY_BYTES - len('{"List": []}')) // 4
        answer, requests = self.call(INPUTS, '{"List": [' + ",".join(['"x"'] * count) + "]}")
        self.assertEqual((answer.status, len(MethodCall(requests[0]).arguments[0][2])), (200, count))

    def test_array_with_the_most_elements(self):
        count = (MAX_BODY_BYTES - len('{"List": []}')) // 2
        answer, requests = self.call({"List": declared("Edm.Int64", "uint8", is_arraytype=True)},
                                     '{"List": [' + ",".join(["0"] * count) + "]}")
        self.assertEqual((answer.status, len(MethodCall(requests[0]).arguments[0][2])), (200, count))

    def test_array_of_another_type_with_the_most_elements(self):
        count = (MAX_BODY_BYTES - len('{"List": []}')) // 2
        answer, requests = self.call(INPUTS, '{"List": [' + ",".join(["0"] * count) + "]}")
        self.assertEqual((answer.status, requests), (400, []))
        self.assertEqual(answer.messages()[0][0], "Vexo.SYS425")

    def test_most_members(self):
        members = ",".join(f'"{number}":0' for number in range(90000))
        answer, requests = self.call(INPUTS, "{" + members + "}")
        self.assertEqual((answer.status, answer.messages(), requests), (*error("SYS429", "0"), []))

    def test_error_repeats_no_long_text(self):
        for character in ("x", "\u00e4", "\U0001f600"):
            text = character * ((MAX_BODY_BYTES - len('{"": 0}')) // len(character.encode("utf-8")))
            for body in (f'{{"{text}": 0}}', f'{{"List": "{text[:-10]}"}}'):
                with self.subTest(character=character, body=body[:10]):
                    answer, requests = self.call(INPUTS, body)
                    self.assertEqual((answer.status, requests), (400, []))
                    self.assertLess(len(answer.body), 8192)
                    arguments = [argument for _, given in answer.messages() for argument in given]
                    longest = max(arguments, key=len)
                    self.assertTrue(longest.endswith(character + "..."), longest)
                    self.assertLessEqual(len(longest.encode("utf-8")), 256)

    def test_body_above_the_limit(self):
        with ScriptedObjectManager(DONE) as manager, ActionService(manager.url) as service:
            answer = service.run('{"Text": "' + "x" * MAX_BODY_BYTES + '"}')
            self.assertEqual((answer.status, answer.messages(), manager.requests),
                             (413, [("Base.PayloadTooLarge", [])], []))


if __name__ == "__main__":
    unittest.main(verbosity=2)
