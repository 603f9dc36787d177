#!/usr/bin/python3
"""What a method gives back, and what the client gets of it: outputs of every type, messages, jobs."""

import unittest

from action_service import ActionService, action_mapping
from scripted_object_manager import ScriptedObjectManager, method_result, parameter

JOBS = "/redfish/v1/Managers/Tavix.Embedded.1/Jobs"

SUCCESS = "Vexo.1.0.SYS413"
FAILURE = ("Vexo.SYS500", [])

INTEGERS = {"uint8": (0, 255), "uint16": (0, 65535), "uint32": (0, 2**32 - 1), "uint64": (0, 2**64 - 1),
            "sint8": (-128, 127), "sint16": (-32768, 32767), "sint32": (-2**31, 2**31 - 1)}


def reference(**keys):
    bindings = "".join(f'<KEYBINDING NAME="{name}"><KEYVALUE VALUETYPE="string">{value}</KEYVALUE></KEYBINDING>'
                       for name, value in keys.items())
    return f'<VALUE.REFERENCE><INSTANCENAME CLASSNAME="XCIM_Job">{bindings}</INSTANCENAME></VALUE.REFERENCE>'


def job(value, name="Job"):
    return parameter(name, "reference", value)


class Outputs(unittest.TestCase):
    """One service and one object manager, whose answer each test sets."""

    maxDiff = None

    @classmethod
    def setUpClass(cls):
        levels = {"value_mapping": {"0": "OK", "1": "Error", "-1": "Odd", "on": "On"}}
        time = {"cim_type": "datetime"}
        mapping = action_mapping(outputs={"Level": levels, "Levels": levels, "More": levels, "Plain": {}, "When": time, "Whens": time})
        cls.manager = cls.enterClassContext(ScriptedObjectManager(None))
        cls.service = cls.enterClassContext(ActionService(cls.manager.url, mapping))

    def run_action(self, *outputs, **more):
        self.manager.release(method_result("Run", *outputs, **more))
        return self.service.run()


class Verbatim(unittest.TestCase):
    def test_date_times_are_as_the_library_makes_them(self):
        mapping = action_mapping(outputs={"When": {"cim_type": "datetime"}})
        answer = method_result("Run", parameter("When", "datetime", "20240501102030.000000+000"))
        with ScriptedObjectManager(lambda _: answer) as manager, ActionService(manager.url, mapping, "--verbatim") as service:
            self.assertEqual(service.run().json()["When"], "2024-05-01T10:20:30+0000")


class Values(Outputs):
    def check(self, expected, *outputs):
        """The body has these members and the message."""
        answer = self.run_action(*outputs)
        self.assertEqual(answer.status, 200, answer.body)
        body = answer.json()
        [message] = body.pop("@Message.ExtendedInfo")
        self.assertEqual((body, message["MessageId"]), (expected, SUCCESS))

    def check_types(self, cases):
        for cim_type, value, expected in cases:
            with self.subTest(type=cim_type, value=value):
                self.check(expected, parameter("A", cim_type, value))

    def test_no_outputs(self):
        self.check({})

    def test_integers(self):
        self.check_types((cim_type, str(value), {"A": value})
                         for cim_type, values in INTEGERS.items() for value in values)

    def test_signed_64_bits_keep_the_lower_half(self):
        self.check_types([("sint64", "-5000000000", {"A": -705032704}), ("sint64", "-1", {"A": -1}),
                          ("sint64", "4294967296", {"A": 0})])

    def test_reals(self):
        self.check_types([("real32", "1.5", {"A": 1.5}), ("real64", "-1.25e10", {"A": -1.25e10}),
                          ("real64", "0", {"A": 0.0})])

    def test_booleans(self):
        self.check_types([("boolean", "TRUE", {"A": True}), ("boolean", "false", {"A": False})])

    def test_texts(self):
        self.check_types([("string", text, {"A": text}) for text in ("a", "Ünï <&> \"", " ")])
        self.check({"A": ""}, parameter("A", "string", "<VALUE></VALUE>"))

    def test_date_times(self):
        self.check_types([("datetime", "20240501102030.000000+120", {"A": "2024-05-01T08:20:30+0000"}),
                          ("datetime", "00000001000000.000000:000", {"A": "1970-01-02T00:00:00+0000"})])

    def test_date_times_that_are_declared_have_a_colon_in_their_offset(self):
        time = "20240501102030.000000+000"
        self.check({"When": "2024-05-01T10:20:30+00:00", "Whens": ["2024-05-01T10:20:30+00:00"], "Whens@odata.count": 1,
                    "A": "2024-05-01T10:20:30+0000"},
                   parameter("When", "datetime", time), parameter("Whens", "datetime", [time]), parameter("A", "datetime", time))

    def test_single_character_is_left_out(self):
        self.check_types([("char16", "x", {})])

    def test_embedded_object_is_left_out(self):
        for xml in ('<INSTANCE CLASSNAME="XCIM_A"/>', '<CLASS NAME="XCIM_A"/>'):
            one = parameter("A", "string", xml).replace("PARAMTYPE", 'EmbeddedObject="object" PARAMTYPE')
            many = parameter("L", "string", [xml, None]).replace("PARAMTYPE", 'EmbeddedObject="object" PARAMTYPE')
            self.check({"L": [0, None], "L@odata.count": 2}, one, many)
        self.check({"A": '<INSTANCE CLASSNAME="XCIM_A"/>'},
                   parameter("A", "string", '<INSTANCE CLASSNAME="XCIM_A"/>'))

    def test_null_of_every_type(self):
        self.check_types((cim_type, None, {"A": None}) for cim_type in (
            *INTEGERS, "sint64", "real32", "real64", "boolean", "char16", "string", "datetime"))
        self.check({"Job": None}, job(None))

    def test_array_of_every_type_with_its_count(self):
        self.check_types([(cim_type, [str(value) for value in values], {"A": list(values), "A@odata.count": 2})
                          for cim_type, values in INTEGERS.items()])
        self.check_types([
            ("sint64", ["-1", "5000000000"], {"A": [-1, 705032704], "A@odata.count": 2}),
            ("real32", ["1.5", "2"], {"A": [1.5, 2.0], "A@odata.count": 2}),
            ("real64", ["-0.5"], {"A": [-0.5], "A@odata.count": 1}),
            ("boolean", ["TRUE", "FALSE"], {"A": [True, False], "A@odata.count": 2}),
            ("string", ["a", "b", ""], {"A": ["a", "b", ""], "A@odata.count": 3}),
            ("datetime", ["20240501102030.000000+000"], {"A": ["2024-05-01T10:20:30+0000"], "A@odata.count": 1}),
            ("char16", ["x", "y"], {"A": [0, 0], "A@odata.count": 2})])

    def test_empty_array_is_a_count(self):
        self.check_types((cim_type, [], {"A@odata.count": 0})
                         for cim_type in (*INTEGERS, "string", "boolean", "datetime"))

    def test_null_element_of_an_array(self):
        self.check_types([("string", ["a", None, "b"], {"A": ["a", None, "b"], "A@odata.count": 3}),
                          ("uint16", [None, "1"], {"A": [None, 1], "A@odata.count": 2})])

    def test_values_of_a_list_are_shown_as_it_says(self):
        self.check({"Level": "Error"}, parameter("Level", "uint16", "1"))
        self.check({"Level": "Odd"}, parameter("Level", "sint8", "-1"))
        self.check({"Level": None}, parameter("Level", "uint16", "7"))
        self.check({"Level": "on"}, parameter("Level", "string", "on"))  # a text is not looked up
        self.check({"Level": None}, parameter("Level", "uint16", None))
        self.check({"Plain": 1}, parameter("Plain", "uint16", "1"))

    def test_arrays_of_a_list_are_shown_as_it_says(self):
        self.check({"Levels": ["Error", "OK", None], "Levels@odata.count": 3},
                   parameter("Levels", "uint16", ["1", "0", "9"]))
        # The rest of a longer array before it stays.
        self.check({"Levels": ["OK", "Error"], "Levels@odata.count": 2, "More": ["On", "Error"], "More@odata.count": 1},
                   parameter("Levels", "uint16", ["0", "1"]), parameter("More", "string", ["on"]))

    def test_many_outputs(self):
        self.check({"B": 1, "A": "x", "L": ["y"], "L@odata.count": 1},
                   parameter("B", "uint8", "1"), parameter("A", "string", "x"), parameter("L", "string", ["y"]))

    def test_message_outputs_are_not_members(self):
        self.check({"A": 1}, parameter("A", "uint8", "1"), parameter("Message", "string", "Well done"),
                   *(parameter(name, "string", ["x"]) for name in ("MessageArguments", "MessageArgs", "MsgArgs")))


class Completed(Outputs):
    def test_success_has_the_general_message(self):
        answer = self.run_action()
        self.assertEqual((answer.status, answer.get("Content-Type"), answer.get("Location")),
                         (200, "application/json", None))
        self.assertEqual((answer.get("OData-Version"), answer.get("Cache-Control")), ("4.0", "no-cache"))
        self.assertEqual(answer.json(), {"@Message.ExtendedInfo": [{
            "@odata.type": "#Message.v1_1_1.Message", "MessageId": SUCCESS, "Message": "The operation was carried out.",
            "MessageArgs": [], "Severity": "OK", "MessageSeverity": "OK", "Resolution": "Nothing needs to be done."}]})

    def test_success_has_the_message_of_the_method(self):
        answer = self.run_action(parameter("MessageID", "string", "SYS414"))
        [message] = answer.json()["@Message.ExtendedInfo"]
        self.assertEqual((answer.status, message["MessageId"], "MessageID" in answer.json()),
                         (200, "Vexo.1.0.SYS414", False))

    def test_message_id_that_is_none_gives_the_general_message(self):
        for value, cim_type in ((None, "string"), ("<VALUE></VALUE>", "string"), ("5", "uint16"),
                                (["SYS414"], "string")):
            answer = self.run_action(parameter("MessageID", cim_type, value))
            [message] = answer.json()["@Message.ExtendedInfo"]
            self.assertEqual((answer.status, message["MessageId"]), (200, SUCCESS))

    def test_method_without_a_return_value_is_done(self):
        self.assertEqual(self.run_action(returns=None).status, 200)

    def test_return_value_of_any_integer_type(self):
        for return_type in (*INTEGERS, "sint64"):
            self.assertEqual(self.run_action(returns="0", return_type=return_type).status, 200, return_type)


class Started(Outputs):
    def check(self, location, *outputs, **more):
        answer = self.run_action(*outputs, **more)
        self.assertEqual((answer.status, answer.get("Location"), answer.get("Content-Type")),
                         (202, location, "application/json"))
        [message] = answer.json()["@Message.ExtendedInfo"]
        self.assertEqual((message["MessageId"], message["Severity"]), ("Base.1.18.Created", "OK"))
        return answer.json()

    def test_job_is_where_its_id_says(self):
        for returns in ("0", "4096"):
            self.check(f"{JOBS}/JID_123", job(reference(InstanceID="JID_123")), returns=returns)
        self.check("/redfish/v1/TaskService/Tasks/OSDeployment", job(reference(InstanceID="OSD_9"), "Task"))
        self.check("XYZ", job(reference(InstanceID="XYZ")))

    def test_first_key_of_a_reference_is_the_id(self):
        self.check(f"{JOBS}/JID_1", job(reference(InstanceID="JID_1", Name="JID_2")))

    def test_job_is_no_member_and_other_outputs_are(self):
        body = self.check(f"{JOBS}/JID_1", parameter("A", "uint8", "1"), job(reference(InstanceID="JID_1")),
                          parameter("Message", "string", "Started"), returns="4096")
        self.assertEqual((set(body), body["A"]), ({"A", "@Message.ExtendedInfo"}, 1))

    def test_started_without_a_job(self):
        for outputs in ((), (job(None),), (job(reference()),)):
            self.check(None, *outputs, returns="4096")

    def test_reference_without_a_key_is_no_job(self):
        answer = self.run_action(job(reference()))
        self.assertEqual((answer.status, answer.get("Location")), (200, None))

    def test_what_a_uri_cannot_have_is_escaped(self):
        self.check(f"{JOBS}/JID_%C3%A4%20%221%22", job(reference(InstanceID='JID_ä "1"')))

    def test_job_whose_uri_is_too_long_has_started_all_the_same(self):
        for length in (2049 - len(f"{JOBS}/"), 20_000):
            self.check(None, job(reference(InstanceID="JID".ljust(length, "x"))))
        longest = "JID".ljust(2048 - len(f"{JOBS}/"), "x")
        self.check(f"{JOBS}/{longest}", job(reference(InstanceID=longest)))

    def test_line_end_in_an_id_ends_the_header(self):
        self.check("a", job(reference(InstanceID="a&#13;&#10;Set-Cookie: b")))


class Failed(Outputs):
    def check(self, status, messages, *outputs, returns="1", return_type="uint32"):
        answer = self.run_action(*outputs, returns=returns, return_type=return_type)
        self.assertEqual((answer.status, answer.messages(), answer.get("Location")), (status, messages, None))

    def test_failure_without_a_message_is_the_general_one(self):
        for returns in ("1", "2", "4095", "4097", "4294967295"):
            self.check(400, [FAILURE], returns=returns)

    def test_return_value_that_is_no_nought_of_its_type_is_a_failure(self):
        for returns, return_type in (("-1", "sint32"), ("2", "uint8"), ("TRUE", "boolean"), ("1.5", "real32"),
                                     ("0", "string")):
            self.check(400, [FAILURE], returns=returns, return_type=return_type)

    def test_failure_with_the_message_of_the_method(self):
        self.check(404, [("Vexo.SYS419", ["Disk.7"])], parameter("MessageID", "string", "SYS419"),
                   parameter("MessageArguments", "string", ["Disk.7"]), returns="2")

    def test_message_that_has_a_standard_one_beside_it(self):
        arguments = ["Sideways", "PowerState"]
        self.check(400, [("Vexo.SYS426", arguments), ("Base.PropertyValueNotInList", arguments)],
                   parameter("MessageID", "string", "SYS426"), parameter("MessageArguments", "string", arguments))

    def test_arguments_under_each_of_their_names(self):
        for name in ("MessageArguments", "MessageArgs", "MsgArgs"):
            self.check(404, [("Vexo.SYS419", ["X"])], parameter("MessageID", "string", "SYS419"),
                       parameter(name, "string", ["X"]))
            self.check(404, [("Vexo.SYS419", ["Y"])], parameter("MessageID", "string", "SYS419"),
                       parameter(name, "string", "Y"))

    def test_missing_arguments_are_empty_and_surplus_ones_are_dropped(self):
        for given, shown in (([], [""]), ([None], [""]), (["1", "2", "3", "4", "5"], ["1"])):
            self.check(404, [("Vexo.SYS419", shown)], parameter("MessageID", "string", "SYS419"),
                       parameter("MessageArguments", "string", given))

    def test_message_that_the_registry_has_not(self):
        self.check(400, [("Vexo.ABC123", ["x"])], parameter("MessageID", "string", "ABC123"),
                   parameter("MsgArgs", "string", ["x"]))

    def test_other_outputs_are_not_told(self):
        answer = self.run_action(parameter("A", "uint8", "1"), returns="3")
        self.assertEqual(list(answer.json()), ["error"])

    def test_next_call_is_not_touched_by_a_failure(self):
        self.check(400, [FAILURE])
        self.assertEqual(self.run_action().status, 200)

    def test_body_has_the_text_of_the_message(self):
        body = self.run_action(returns="9").json()["error"]
        self.assertEqual((body["code"], body["message"]), ("Vexo.1.0.SYS500", "The operation failed."))


if __name__ == "__main__":
    unittest.main(verbosity=2)
