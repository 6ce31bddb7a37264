"""examples/minimal-host, built from what is installed."""
import re
import subprocess


def run(*words, **options):
    """What a command says; it must end with 0."""
    done = subprocess.run([str(word) for word in words], capture_output=True, text=True, check=False, timeout=300, **options)
    if done.returncode != 0:
        raise AssertionError(f"{words[0]} ended with {done.returncode}:\n{done.stdout}{done.stderr}")
    return done.stdout


def build(source, build_folder, *options, **surroundings):
    run("cmake", "-G", "Ninja", "-S", source / "examples/minimal-host", "-B", build_folder, *options, **surroundings)
    run("cmake", "--build", build_folder, **surroundings)


def assert_gives_all_that_is_examined(test, *command, **surroundings):
    """`command` runs the host with the examiner in place of the connector: one of its subscribers throws."""
    # It takes a minute: the examiner tells no outcome of a task.
    host = subprocess.run([str(word) for word in (*command, "1")], capture_output=True, text=True, check=False,
                          timeout=150, **surroundings)
    test.assertEqual([], [line for line in host.stdout.splitlines()
                          if re.match(r"HostProbe: (doubtful|WRONG|not tried)", line)], host.stderr)
    test.assertRegex(host.stdout, r"\nHostProbe: end: \d+ points: \d+ fine, 0 doubtful, 0 wrong, \d+ not tried\n")
    test.assertRegex(host.stderr, r"(?m)^OvAgentRequest is lost: [^\n]*$")
    test.assertTrue(host.stdout.endswith("\nthe task is not done\n"), host.stdout)
    test.assertEqual(1, host.returncode)
