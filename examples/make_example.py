#!/usr/bin/env python3
"""Writes declaracao-exemplo.txt, the small VALID declaration bundled with volp.

One month (October 2025) of a payment institution declaring to the tax
authority of SP: three clients (two companies, one person identified by CPF),
one VAN, five capture devices of different technologies, one partner
institution, daily totals per device and day with their transactions, one
transaction destination (1120), one cancellation of a September transaction
(1200 with its 1220) and the block 9 totals.

Everything that the validator cross-checks is computed here, not typed:
check digits of CNPJ, CPF and the NF-e access key, the sums of the
transactions (1115) into the daily totals (1110) and of those into the monthly
summaries (1100), the line counts of blocks 0, 1 and 9, the 9900 totals per
record type and the 9999 line count.

Usage: python3 examples/make_example.py [OUTPUT]   (default: beside this script)
The output is ISO 8859-1 with CR LF line ends; the same input gives the same
bytes (the pseudo-random values come from a fixed seed).
"""

import os
import random
import sys

PERIOD_START = "20251001"
PERIOD_END = "20251031"
MES_VAL = "202511"  # the month in which the file is validated and sent
UF_FISCO = "SP"


def cnpj(base12):
    """Appends the two modulus-11 check digits to a 12-digit CNPJ base."""
    digits = [int(c) for c in base12]
    for weights in ([5, 4, 3, 2, 9, 8, 7, 6, 5, 4, 3, 2], [6, 5, 4, 3, 2, 9, 8, 7, 6, 5, 4, 3, 2]):
        r = sum(d * w for d, w in zip(digits, weights)) % 11
        digits.append(0 if r < 2 else 11 - r)
    return "".join(map(str, digits))


def cpf(base9):
    """Appends the two modulus-11 check digits to a 9-digit CPF base."""
    digits = [int(c) for c in base9]
    for first in (10, 11):
        r = sum(d * w for d, w in zip(digits, range(first, 1, -1))) % 11
        digits.append(0 if r < 2 else 11 - r)
    return "".join(map(str, digits))


def access_key(first43):
    """Appends the check digit of a fiscal document key: weights 2..9 from the right."""
    total, weight = 0, 2
    for c in reversed(first43):
        total += int(c) * weight
        weight = 2 if weight == 9 else weight + 1
    dv = 11 - total % 11
    return first43 + str(0 if dv >= 10 else dv)


def money(cents):
    return "%d,%02d" % (cents // 100, cents % 100)


DECLARANT = cnpj("351234560001")
ACQUIRER = cnpj("417654320001")  # acquirer that authorised the card transactions
VAN = cnpj("293847560001")
PARTNER = cnpj("184736250001")

# Clients of the declarant, all in the UF of the fiscal authority.
CLIENTS = [
    dict(code="CLI-0001", cnpj=cnpj("452398170001"), cpf="", name="Padaria Boa Massa Ltda",
         address="Rua Augusta, 250 - Consolação", cep="01305000", mun="3550308",
         contact="Márcia Gonçalves", phone="1132145566", email="financeiro@boamassa.com.br",
         since="20230315", sub="0", geo="-23.5558,-46.6622"),
    dict(code="CLI-0002", cnpj="", cpf=cpf("286451937"), name="José Antônio Feirante",
         address="Rua Barão de Jaguara, 1200 - Centro", cep="13015002", mun="3509502",
         contact="", phone="", email="", since="20240102", sub="0", geo="-22.9035,-47.0626"),
    dict(code="CLI-0003", cnpj=cnpj("613572840001"), cpf="",
         name="Oficina Mecânica Irmãos Souza Ltda", address="Avenida Ana Costa, 480 - Gonzaga",
         cep="11060002", mun="3548500", contact="Célio Souza", phone="13999001122", email="",
         since="20220810", sub="0", geo="-23.9671,-46.3326"),
]

# Capture devices: code, logical number, technology, own (0) or third-party (1)
# terminal, brand (required for third-party terminals), and the client using it.
DEVICES = [
    ("POS-001", "T0012345", "1", "1", "Modelo P200", "CLI-0001"),
    ("ECOM-001", "LOJA-VIRTUAL-01", "4", "0", "", "CLI-0001"),
    ("POS-002", "T0098765", "1", "1", "Modelo P200", "CLI-0002"),
    ("PDV-001", "CAIXA-OFICINA-1", "2", "0", "", "CLI-0003"),
    ("DIN-001", "BALCAO-OFICINA", "7", "1", "Balcão próprio", "CLI-0003"),
]
TECH = {d[0]: d[2] for d in DEVICES}

# Days with operations per device; the person (CLI-0002) sells on three market
# days with enough sales to pass the monthly minimum for CPF clients
# (R$ 3.375,00 and 30 operations).
DAYS = {
    "POS-001": ["20251003", "20251010", "20251024"],
    "ECOM-001": ["20251006", "20251020"],
    "POS-002": ["20251004", "20251011", "20251018"],
    "PDV-001": ["20251007", "20251021"],
    "DIN-001": ["20251007", "20251015"],
}
COUNTS = {"POS-002": 12}  # transactions per day; 3 to 5 elsewhere


def build():
    rng = random.Random(20251031)
    block0, block1 = [], []

    block0.append(["0000", "07", "1", UF_FISCO, DECLARANT,
                   "Pagamentos Exemplo Instituição de Pagamento S.A.", PERIOD_START, PERIOD_END,
                   "1", MES_VAL])
    block0.append(["0001", "1"])
    block0.append(["0005", "PagExemplo", "Avenida Paulista, 1000 - 10º andar - Bela Vista",
                   "01310100", "3550308", "SP", "Mariana Conceição", "1130001000",
                   "contato@pagamentos-exemplo.com.br"])

    nsu = 100000
    groups = []  # (client, [(device, day, [transactions])])
    for client in CLIENTS:
        days = []
        for dev in DEVICES:
            if dev[5] != client["code"]:
                continue
            for day in DAYS[dev[0]]:
                txs = []
                for _ in range(COUNTS.get(dev[0], rng.randint(3, 5))):
                    nsu += 1
                    txs.append(dict(nsu=str(nsu), aut="%06d" % rng.randint(0, 999999),
                                    hour="%02d%02d%02d" % (rng.randint(8, 19), rng.randint(0, 59),
                                                           rng.randint(0, 59)),
                                    cents=rng.randint(1500, 25000), brand=str(rng.choice([1, 2, 3, 5]))))
                days.append((dev[0], day, txs))
        groups.append((client, days))

    for client in CLIENTS:
        block0.append(["0100", client["code"], client["cnpj"], client["cpf"], client["name"],
                       client["address"], client["cep"], client["mun"], "SP", client["contact"],
                       client["phone"], client["email"], client["since"], client["sub"]])
        if client["code"] == "CLI-0001":
            n = sum(len(t) for c, d in groups if c is client for _, _, t in d)
            block0.append(["0105", VAN, "Rede de Captura Exemplo", str(n)])
    for dev in DEVICES:
        block0.append(["0200", dev[0], dev[1], dev[2], dev[3], dev[4]])
    block0.append(["0300", "PARC-01", PARTNER, "Parceira Pagamentos do Rio Ltda",
                   "Avenida Rio Branco, 156 - Centro", "20040003", "3304557", "RJ",
                   "Renata Araújo", "2125550100", "operacoes@parceira-rio.com.br"])
    block0.append(["0990", str(len(block0) + 1)])

    block1.append(["1001", "1"])
    for client, days in groups:
        partner = "PARC-01" if client["code"] == "CLI-0003" else ""
        total = sum(t["cents"] for _, _, txs in days for t in txs)
        qtd = sum(len(txs) for _, _, txs in days)
        if client["cpf"]:
            # Below either minimum the 1100 of a CPF client must be removed.
            assert total >= 337500 and qtd >= 30, (total, qtd)
        block1.append(["1100", partner, client["code"], "0", "0", PERIOD_START, PERIOD_END,
                       money(total), str(qtd)])
        for dev, day, txs in days:
            cash = TECH[dev] == "7"
            block1.append(["1110", dev, day, money(sum(t["cents"] for t in txs)), str(len(txs)),
                           "" if cash else ACQUIRER])
            for i, t in enumerate(txs):
                # Cash and other structures are always nature 5; cards vary.
                nat = "5" if cash else rng.choice(["1", "2", "3"])
                block1.append(["1115", t["nsu"], t["aut"], "", "0", "99" if cash else t["brand"],
                               t["hour"], money(t["cents"]), nat, client["geo"]])
                if client["code"] == "CLI-0001" and dev == "POS-001" and day == DAYS[dev][0] and i == 0:
                    # A sale with its NF-e: destined to SP, to a company buyer.
                    key = access_key("35" + "2510" + client["cnpj"] + "55" + "001" + "000004512"
                                     + "1" + "73920184")
                    block1.append(["1120", "SP", key, cnpj("778899000001"), "", "", "", "", "SP",
                                   client["cnpj"]])
    # A September sale of CLI-0001 cancelled in October.
    block1.append(["1200", "", "CLI-0001", "POS-001", "99871", "552301", "", "20250926",
                   "20251002", "1", "150,00", "150,00"])
    block1.append(["1220", "SP", "", "", cpf("512834906"), ""])
    block1.append(["1990", str(len(block1) + 1)])

    lines = block0 + block1
    types = sorted({r[0] for r in lines} | {"9001", "9900", "9990", "9999"})
    n9900 = len(types)
    block9 = [["9001", "1"]]
    for t in types:
        count = n9900 if t == "9900" else sum(1 for r in lines if r[0] == t)
        if t in ("9001", "9990", "9999"):
            count = 1
        block9.append(["9900", t, str(count)])
    block9.append(["9990", str(len(block9) + 2)])
    block9.append(["9999", str(len(lines) + len(block9) + 1)])
    return lines + block9


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    out = sys.argv[1] if len(sys.argv) > 1 else os.path.join(here, "declaracao-exemplo.txt")
    with open(out, "w", encoding="latin-1", newline="") as f:
        for record in build():
            f.write("|" + "|".join(record) + "|\r\n")


if __name__ == "__main__":
    main()
