"""Installations that are made up for load tests."""

import json

import pytest

from kvrpc_tools.simulator.population import PASSWORD
from kvrpc_tools.simulator.simulation import Simulation

USERS = 20


@pytest.fixture(scope="module")
def made(schema):
    return Simulation(schema, users=USERS).installation


def without_times(installation):
    state = json.loads(json.dumps(installation.save(), default=str))
    for job in (job for _, job in state["jobs"]["jobs"]):
        for field in ("crezeit", "sollzeit", "istzeit", "nextzeit"):
            job.pop(field, None)
    return state["people"], state["addresses"], state["jobs"]["jobs"]


def test_the_same_number_makes_the_same_installation(schema, made):
    assert without_times(Simulation(schema, users=USERS).installation) == without_times(made)
    assert without_times(Simulation(schema, users=USERS + 1).installation) != without_times(made)


def test_each_user_has_a_session_a_book_and_jobs(made):
    state = made.save()
    users = [row for row in state["people"]["users"] if row["barcode"].startswith("2")]
    assert len(users) == USERS
    books = {row["owneru"] for row in state["addresses"]["books"] if row.get("owneru")}
    jobs = {job["userid"] for _, job in state["jobs"]["jobs"]}
    for user in (row["userid"] for row in users):
        assert made.run("a_login_1", {"userid": user, "passwor": PASSWORD}).get("err", 0) == 0
        assert user in books and user in jobs


def test_jobs_are_in_every_state_and_numbers_look_real(made):
    state = made.save()
    jobs = [job for _, job in state["jobs"]["jobs"]]
    assert {job["status"] for job in jobs} == {1, 3, 5}
    assert all(job["empfnr"].startswith("0") and " 555" in job["empfnr"] for job in jobs)
