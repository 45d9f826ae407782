"""What is aimed at: each target is a measure and its limit, and nothing else. Results are computed
by report.py; none is written by hand. `beside` is what the limit comes to on the machine that the
targets were set on, `own` our side of a ratio, shown beside it."""

from measures import Target, allocations, counter, larger, minus, ns, ratio, speed

MODELS = ("payment", "invoice", "pain001", "ubl")


def walks(model):
    by_id, by_name = ns(f"walk/{model}/id/stddi"), ns(f"walk/{model}/name/stddi")
    checks = minus(ns(f"message/{model}/libxml2-schema"), ns(f"message/{model}/libxml2-sax"))
    automata = ns(f"walk/{model}/libxml2-automata")
    yield Target("an element by tag id, of libxml2's structure checks", ratio(by_id, checks),
                 at_most=1 / 10, own=by_id)
    yield Target("an element by tag id, of libxml2's automata alone", ratio(by_id, automata),
                 at_most=1 / 4, beside="15 ns", own=by_id)
    yield Target("an element by name, of libxml2's structure checks", ratio(by_name, checks),
                 at_most=1 / 7, beside="25 ns", own=by_name)


def messages(model):
    own = ns(f"message/{model}/stddi")
    yield Target("parse and place, of libxml2's bare SAX2 parse",
                 ratio(own, ns(f"message/{model}/libxml2-sax")), at_most=1.6, own=own)
    yield Target("parse and place, of libxml2's SAX2 with schema",
                 ratio(own, ns(f"message/{model}/libxml2-schema")), at_most=0.55, own=own)


def loads(model):
    events, image = ns(f"load/{model}/events/stddi"), ns(f"load/{model}/image/stddi")
    yield Target("load by events, a definition", events, at_most=150, unit="ns")
    yield Target("load by events one by one, a definition",
                 ns(f"load/{model}/events-one-by-one/stddi"), at_most=150, unit="ns")
    yield Target("load by events, of the least that a load must do",
                 ratio(events, ns(f"load/{model}/events/floor")), at_most=4)
    yield Target("load by events, of protobuf's descriptors",
                 ratio(events, ns(f"load/{model}/protobuf")), at_most=1 / 8)
    yield Target("opening an image, of a copy of its bytes",
                 ratio(image, ns(f"load/{model}/image/copy")), at_most=3, own=image)
    mapped = ns(f"load/{model}/image/stddi-mapped")
    yield Target("opening an image as a mapped file, of a copy of its bytes",
                 ratio(mapped, ns(f"load/{model}/image/copy")), at_most=3, own=mapped)
    yield Target("opening an image, of Xerces-C++'s saved grammar pool",
                 ratio(image, ns(f"load/{model}/xerces-pool")), at_most=1 / 25, own=image)
    yield Target("loading an extract", speed(f"load/{model}/extract/stddi"), at_least=100,
                 unit="MB/s")
    yield Target("memory of a definition, indexes and names included",
                 counter(f"memory/{model}/stddi", "bytes"), at_most=128, unit="bytes")


def choices():
    for way in ("id", "name"):
        widest = larger(*(ns(f"walk/choice{n}/{way}/stddi") for n in (100, 1_000, 10_000)))
        yield Target(f"an element by {way} in choices of 100 to 10,000, of a choice of 10",
                     ratio(widest, ns(f"walk/choice10/{way}/stddi")), at_most=1.5,
                     beside="30 ns", own=widest)


def ids(how):
    def cost(kind, who):
        return ns(f"id/{kind}/10000/hit/{how}/{who}")

    dense, sparse = cost("dense", "stddi"), cost("sparse", "stddi")
    yield Target(f"10,000 dense ids, {how}, of a dense array",
                 ratio(dense, cost("dense", "array")), at_most=1.4, own=dense)
    yield Target(f"10,000 sparse ids, {how}, of absl::flat_hash_map",
                 ratio(sparse, cost("sparse", "absl")), at_most=1, own=sparse)


def names(how):
    for rows in (100, 10_000, 1_000_000):
        own, peer = (ns(f"name/{rows}/hit/{how}/{who}") for who in ("stddi", "absl"))
        yield Target(f"{rows:,} names, {how}, of absl::flat_hash_map", ratio(own, peer), at_most=1,
                     beside="40 ns" if (rows, how) == (10_000, "dependent") else "", own=own)


def shared_and_fix():
    yield Target("allocations of an element or a look-up, the worst of all workloads",
                 allocations("walk/", "shape/", "id/", "name/"), at_most=0)
    for way in ("id", "name"):
        one, two = (ns(f"threads/payment/{way}/stddi/real_time/threads:{n}") for n in (1, 2))
        yield Target(f"two threads, an element by {way}, of one", ratio(one, two), at_least=1.95)
    own = ns("fix/stddi")
    yield Target("a FIX field parsed and placed, of QuickFIX's parse with dictionary",
                 ratio(own, ns("fix/quickfix")), at_most=1 / 3, own=own)


def model_targets(model):
    """Those that each model has."""
    return [*walks(model), *messages(model), *loads(model)]


def other_targets():
    dependent, independent = "dependent", "independent"
    return [*choices(), *ids(dependent), *ids(independent), *names(dependent), *names(independent),
            *shared_and_fix()]
