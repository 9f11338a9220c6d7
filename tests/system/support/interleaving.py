"""Texts of several tasks that share the error stream."""


def is_interleaving(text, *tasks):
    """Is the text made of the tasks' messages and nothing else, each task's in its order?

    A task's messages are a list of texts; each is written in one piece, but tasks write when they come to it.
    """
    states = {(0,) * len(tasks): 0}
    reached = {}
    while states:
        reached.update(states)
        following = {}
        for done, offset in states.items():
            for number, messages in enumerate(tasks):
                if done[number] < len(messages) and text.startswith(messages[done[number]], offset):
                    step = done[:number] + (done[number] + 1,) + done[number + 1:]
                    following[step] = offset + len(messages[done[number]])
        states = following
    return reached.get(tuple(len(messages) for messages in tasks)) == len(text)
