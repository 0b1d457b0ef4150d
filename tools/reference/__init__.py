"""The parts from which tools/generate_reference.py makes the page.

    markup      HTML as text, and values as JSON or Python
    tables      fields with their limits and meanings
    articles    procedures, records, groups, servers
    page        all of it, with style.css and script.js in it
"""
